#include "diff/DiffOutput.h"

#include <string>

#include <nlohmann/json.hpp>

#include "text/Characters.h"
#include "text/Json.h"
#include "text/Phrases.h"

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

std::string lineOf(const Parting& parting) {
  return clockOf(parting.time) + " " + visible(parting.what) + " " + visible(parting.now) +
         ", before " + visible(parting.before);
}

// Where the runs part, a line each, and the others counted.
void printPartings(std::ostream& out, const StudyDifference& study, const char* line) {
  size_t same = 0;
  for (const StudyDifference::Run& run : study.runs) {
    if (run.parting)
      out << line << visible(run.name) << ": " << lineOf(*run.parting) << '\n';
    else
      ++same;
  }
  const auto count = [&](const char* what, size_t runs) {
    if (runs > 0) out << line << what << counted(runs, "run") << '\n';
  };
  count("the same to the end: ", same);
  count("not there before: ", study.figures.added);
  count("not there any more: ", study.figures.gone);
}

// A cell ends at a bar, unless that is marked.
std::string cellOf(const std::string& text) {
  std::string result;
  for (const char each : visible(text))
    result += each == '|' ? "\\|" : std::string(1, each);
  return result;
}

void printChangesAsMarkdown(const std::vector<FigureChange>& changes, std::ostream& out) {
  out << "\n| run | figure | before | now | difference |\n|---|---|---|---|---|\n";
  for (const FigureChange& change : changes)
    out << "| " << cellOf(change.run) << " | " << cellOf(change.figure) << " | "
        << cellOf(change.before) << " | " << cellOf(change.now) << " | "
        << cellOf(change.difference) << " |\n";
}

Json toJson(const StudyDifference& study) {
  Json runs = Json::array();
  for (const StudyDifference::Run& run : study.runs) {
    Json parting = nullptr;
    if (const auto& at = run.parting)
      parting = {{"seconds", static_cast<double>(at->time) / 1000},
                 {"what", at->what},
                 {"before", at->before},
                 {"now", at->now}};
    runs.push_back({{"run", run.name}, {"parting", parting}});
  }
  Json figures = Json::array();
  for (const FigureChange& change : study.figures.changes)
    figures.push_back({{"run", change.run},
                       {"figure", change.figure},
                       {"before", change.before},
                       {"now", change.now},
                       {"difference", change.difference},
                       {"worse", change.worse}});
  return {{"runs", runs},
          {"figures", figures},
          {"worse", study.figures.isWorse()},
          {"added", study.figures.added},
          {"gone", study.figures.gone}};
}

// Of a change that nobody can see in the coverage there is no heading: an empty one would have a
// reviewer look for what is missing.
void printMeaning(std::ostream& out, const Difference& difference) {
  if (difference.meansNothing()) {
    out << kNoChange;
    return;
  }
  print(out, difference.changes, {"", "\n", "  "});
  if (difference.coverage.empty()) return;
  out << (difference.changes.empty() ? "" : "\n") << "coverage\n";
  print(out, difference.coverage, {"  ", "\n", "    "});
}

void printMeaningAsMarkdown(std::ostream& out, const Difference& difference) {
  if (difference.meansNothing()) {
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

} // namespace

void printDifference(std::ostream& out, const Difference& difference) {
  printMeaning(out, difference);
  if (!difference.runs) return;
  out << "\nwhere the runs part\n";
  printPartings(out, *difference.runs, "  ");
  const std::vector<FigureChange>& changes = difference.runs->figures.changes;
  out << (changes.empty() ? "\nno change of verdicts and figures\n" : "\nverdicts and figures\n");
  if (!changes.empty()) printChanges(changes, out);
}

void printDifferenceAsMarkdown(std::ostream& out, const Difference& difference) {
  printMeaningAsMarkdown(out, difference);
  if (!difference.runs) return;
  out << "\n### Where the runs part\n\n";
  printPartings(out, *difference.runs, "- ");
  const std::vector<FigureChange>& changes = difference.runs->figures.changes;
  if (changes.empty()) {
    out << "\nno change of verdicts and figures\n";
    return;
  }
  out << "\n### Verdicts and figures\n";
  printChangesAsMarkdown(changes, out);
}

void printDifferenceAsJson(std::ostream& out, const Difference& difference) {
  Json result = {{"version", kFormatVersion},
                 {"changed", !difference.none()},
                 {"changes", toJson(difference.changes, "about")},
                 {"coverage", toJson(difference.coverage, "sensor")}};
  if (difference.runs) result["simulation"] = toJson(*difference.runs);
  out << jsonText(result, 2) << '\n';
}
