#include "diff/DiffOutput.h"

#include <nlohmann/json.hpp>

#include "text/Characters.h"

namespace {

using Json = nlohmann::ordered_json;

// Raised whenever a field changes its meaning or goes.
constexpr int kFormatVersion = 1;
constexpr char kNoChange[] = "no change\n";

std::string placeOf(const MeaningChange& change) {
  if (change.file.empty()) return "the board";
  return visible(change.file) + (change.scenario.empty() ? "" : ", " + visible(change.scenario));
}

std::string lineOf(const MeaningChange& change) {
  return (change.about.empty() ? "" : visible(change.about) + ": ") + visible(change.text);
}

// What stands in front of a place, and of each change below it.
struct Style {
  const char* place;
  const char* placeEnd;
  const char* line;
};

void print(std::ostream& out, const std::vector<MeaningChange>& changes, const Style& style) {
  std::string last;
  for (const MeaningChange& change : changes) {
    const std::string place = placeOf(change);
    if (place != last) out << style.place << place << style.placeEnd;
    last = place;
    out << style.line << lineOf(change) << '\n';
  }
}

Json toJson(const std::vector<MeaningChange>& changes, const char* about) {
  Json list = Json::array();
  for (const MeaningChange& change : changes)
    list.push_back({{"file", change.file},
                    {"scenario", change.scenario},
                    {about, change.about},
                    {"change", change.text}});
  return list;
}

} // namespace

void printDifference(std::ostream& out, const Difference& difference) {
  if (difference.none()) {
    out << kNoChange;
    return;
  }
  const Style style = {"", "\n", "  "};
  print(out, difference.changes, style);
  if (difference.coverage.empty()) return;
  out << (difference.changes.empty() ? "" : "\n") << "coverage\n";
  print(out, difference.coverage, {"  ", "\n", "    "});
}

void printDifferenceAsMarkdown(std::ostream& out, const Difference& difference) {
  if (difference.none()) {
    out << kNoChange;
    return;
  }
  const Style style = {"\n**", "**\n\n", "- "};
  out << "### What the edit changes\n";
  print(out, difference.changes, style);
  if (difference.coverage.empty()) return;
  out << "\n### What is cooled otherwise\n";
  print(out, difference.coverage, style);
}

void printDifferenceAsJson(std::ostream& out, const Difference& difference) {
  const Json result = {{"version", kFormatVersion},
                       {"changed", !difference.none()},
                       {"changes", toJson(difference.changes, "about")},
                       {"coverage", toJson(difference.coverage, "sensor")}};
  out << result.dump(2, ' ', false, Json::error_handler_t::replace) << '\n';
}
