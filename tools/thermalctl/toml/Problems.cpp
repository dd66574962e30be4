#include "toml/Problems.h"

#include <algorithm>
#include <tuple>

#include <fmt/core.h>

#include "terminal/MarkedLine.h"
#include "text/Characters.h"
#include "text/Phrases.h"

namespace {

// Whoever has more of them to mend has one cause for most.
constexpr size_t kMost = 100;

constexpr char kBold[] = "1";
constexpr char kRed[] = "1;31";
constexpr char kCyan[] = "1;36";

auto orderOf(const Problem& problem) {
  return std::tie(problem.file, problem.span.at.line, problem.span.at.column);
}

std::string shown(const std::string& text) {
  return visible(withShortWords(text));
}

} // namespace

void Problems::read(const std::string& file, const std::string& text) {
  sources.insert_or_assign(file, Source(text));
}

void Problems::add(Problem problem) {
  const auto same = [&](const Problem& other) {
    return orderOf(other) == orderOf(problem) && other.what == problem.what;
  };
  if (std::none_of(problems.begin(), problems.end(), same)) problems.push_back(std::move(problem));
}

const Source& Problems::source(const std::string& file) const {
  static const Source kNone("");
  const auto known = sources.find(file);
  return known == sources.end() ? kNone : known->second;
}

void Problems::print(std::ostream& out, Colour colour) const {
  std::vector<Problem> sorted = problems;
  std::stable_sort(sorted.begin(), sorted.end(),
                   [](const Problem& a, const Problem& b) { return orderOf(a) < orderOf(b); });
  const size_t count = std::min(sorted.size(), kMost);
  for (size_t i = 0; i < count; ++i)
    print(sorted[i], out, colour);
  if (count < sorted.size()) out << "and " << counted(sorted.size() - count, "more error") << '\n';
}

void Problems::print(const Problem& problem, std::ostream& out, Colour colour) const {
  const auto& [at, length] = problem.span;
  const Line& line = source(problem.file).line(at.line);
  const auto before = static_cast<size_t>(std::max(1, at.column) - 1);
  const size_t from = line.charactersBefore(before);
  std::string place = shown(problem.file) + ":";
  if (at.line > 0) place += fmt::format("{}:{}:", at.line, from + 1);
  out << painted(colour, kBold, place) << ' ' << painted(colour, kRed, "error:") << ' '
      << shown(problem.what) << '\n';
  if (at.line > 0 && sources.count(problem.file) > 0)
    printMarkedLine(out, at.line, line, from,
                    std::max(from + 1, line.charactersBefore(before + length)), colour);
  if (!problem.hint.empty())
    out << fmt::format("      {} {}\n", painted(colour, kCyan, "hint:"), shown(problem.hint));
}
