#include "integrate/Comparison.h"

#include <algorithm>
#include <sstream>

#include "text/Phrases.h"

// A file that is made of the environment, beside the one in the tree: remarks and white space do
// not count, what differs is told line by line. The lines in common are the longest sequence that
// both have; whatever stands between two of them was changed, left out or put in.

namespace {

// A line that means something: where it stands, and its words with one space between them.
struct Significant {
  Position at;
  size_t length = 0;
  std::string words;

  std::string firstWord() const { return words.substr(0, words.find(' ')); }
};

std::string wordsOf(const std::string& line) {
  std::istringstream in(line);
  std::string words;
  for (std::string word; in >> word;)
    words += (words.empty() ? "" : " ") + word;
  return words;
}

std::vector<Significant> linesOf(const std::string& text, const std::string& remark) {
  constexpr char kWhite[] = " \t\v\f\r";
  std::vector<Significant> lines;
  std::istringstream in(text);
  int number = 0;
  for (std::string line; std::getline(in, line);) {
    ++number;
    const std::string words = wordsOf(line);
    if (words.empty() || words.compare(0, remark.size(), remark) == 0) continue;
    const size_t start = line.find_first_not_of(kWhite);
    const size_t end = line.find_last_not_of(kWhite) + 1;
    lines.push_back({{number, static_cast<int>(start) + 1}, end - start, words});
  }
  return lines;
}

Finding errorIn(const std::string& path, const char* rule, const Significant& line,
                const std::string& message, const std::string& hint) {
  Finding finding;
  finding.rule = rule;
  finding.severity = Severity::kError;
  finding.file = path;
  finding.at = line.at;
  finding.length = std::max<size_t>(line.length, 1);
  finding.message = message;
  finding.hint = hint;
  return finding;
}

// Of two texts of which every byte counts.
std::vector<Finding> firstDifference(const std::string& path, const std::string& found,
                                     const std::string& wanted) {
  if (found == wanted) return {};
  const size_t length = std::min(found.size(), wanted.size());
  size_t at = 0;
  Significant place;
  for (size_t lineStart = 0; at < length && found[at] == wanted[at]; ++at) {
    if (found[at] == '\n') {
      ++place.at.line;
      lineStart = at + 1;
    }
    place.at.column = static_cast<int>(at + 1 - lineStart) + 1;
  }
  return {errorIn(path, "different", place, "from here on the file differs from what it must hold",
                  "make it anew: thermalctl integrate --out")};
}

// For each pair of ends of two lists, how many lines those ends have in common at most, in order.
class CommonLines {
public:
  CommonLines(const std::vector<Significant>& a, const std::vector<Significant>& b)
      : width(b.size() + 1), counts((a.size() + 1) * width) {
    for (size_t i = a.size(); i-- > 0;)
      for (size_t j = b.size(); j-- > 0;)
        at(i, j) =
            a[i].words == b[j].words ? at(i + 1, j + 1) + 1 : std::max(at(i + 1, j), at(i, j + 1));
  }

  size_t& at(size_t i, size_t j) { return counts[i * width + j]; }

private:
  size_t width;
  std::vector<size_t> counts;
};

class Comparison {
public:
  Comparison(const std::string& path_, const std::string& found_, const IntegrationFile& wanted_,
             const std::string& environment_)
      : path(path_), environment(environment_), found(linesOf(found_, wanted_.remark)),
        wanted(linesOf(wanted_.content, wanted_.remark)) {}

  std::vector<Finding> take() {
    CommonLines common(wanted, found);
    size_t i = 0;
    size_t j = 0;
    while (i < wanted.size() || j < found.size()) {
      if (i < wanted.size() && j < found.size() && wanted[i].words == found[j].words) {
        tellStretch(j);
        ++i, ++j;
      } else if (j == found.size() ||
                 (i < wanted.size() && common.at(i + 1, j) >= common.at(i, j + 1))) {
        missing.push_back(&wanted[i++]);
      } else {
        extra.push_back(&found[j++]);
      }
    }
    tellStretch(j);
    return std::move(findings);
  }

private:
  // What differs between two lines that are alike; `next` is the one behind.
  void tellStretch(size_t next) {
    for (const Significant* line : extra) {
      // A line that begins with the same word as a missing one was meant for it: its path, or its
      // command.
      const auto meant = std::find_if(missing.begin(), missing.end(), [line](const auto* one) {
        return one->firstWord() == line->firstWord();
      });
      if (meant == missing.end()) {
        tell("extra", *line, "nothing in " + environment + " asks for this line", "take it out");
        continue;
      }
      tell("different", *line, "this line differs from what " + environment + " asks for",
           "it must be " + quoted((*meant)->words));
      missing.erase(meant);
    }
    for (const Significant* line : missing)
      tell("missing", placeOf(next), whereIsMissing(next) + quoted(line->words), "put it in");
    extra.clear();
    missing.clear();
  }

  // The line that a missing one should stand before, or the last one of all; of that the start.
  Significant placeOf(size_t next) const {
    Significant place;
    if (!found.empty()) place.at = found[std::min(next, found.size() - 1)].at;
    return place;
  }

  std::string whereIsMissing(size_t next) const {
    if (found.empty()) return "a line is missing: ";
    return next < found.size() ? "a line is missing before this one: "
                               : "a line is missing after this one: ";
  }

  void tell(const char* rule, const Significant& line, const std::string& message,
            const std::string& hint) {
    findings.push_back(errorIn(path, rule, line, message, hint));
  }

  const std::string& path;
  const std::string& environment;
  const std::vector<Significant> found;
  const std::vector<Significant> wanted;
  std::vector<const Significant*> missing;
  std::vector<const Significant*> extra;
  std::vector<Finding> findings;
};

} // namespace

std::vector<Finding> compareFile(const std::string& path, const std::string& found,
                                 const IntegrationFile& wanted, const std::string& environment) {
  if (!wanted.remark) return firstDifference(path, found, wanted.content);
  return Comparison(path, found, wanted, environment).take();
}
