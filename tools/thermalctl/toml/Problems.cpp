#include "toml/Problems.h"

#include <algorithm>
#include <tuple>

#include "text/Characters.h"

void Problems::add(const std::string& file, unsigned line, const std::string& what) {
  const auto same = [&](const Entry& entry) {
    return entry.file == file && entry.line == line && entry.what == what;
  };
  if (std::none_of(lines.begin(), lines.end(), same)) lines.push_back({file, line, what});
}

void Problems::print(std::ostream& out) const {
  std::vector<Entry> sorted = lines;
  std::stable_sort(sorted.begin(), sorted.end(), [](const Entry& a, const Entry& b) {
    return std::tie(a.file, a.line) < std::tie(b.file, b.line);
  });
  for (const Entry& entry : sorted) {
    out << visible(entry.file);
    if (entry.line > 0) out << ":" << entry.line;
    out << ": error: " << visible(entry.what) << "\n";
  }
}
