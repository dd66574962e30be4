#include "check/output/Explanation.h"

#include <sstream>

#include <nlohmann/json.hpp>

#include "check/Check.h"
#include "check/Silencing.h"
#include "text/Json.h"
#include "text/Phrases.h"

namespace {

using Json = nlohmann::ordered_json;

constexpr size_t kTerminalWidth = 80;
constexpr size_t kPageWidth = 110;

// The board into which the examples are put.
constexpr char kExampleBoard[] = "[cpu]\n"
                                 "type real\n"
                                 "sampling 1000\n"
                                 "node_path /sys/cpu/temp\n"
                                 "\n"
                                 "[battery]\n"
                                 "type real\n"
                                 "sampling 1000\n"
                                 "node_path /sys/battery/temp\n"
                                 "\n"
                                 "[clock]\n"
                                 "type gpufreq\n"
                                 "node_path /sys/clock/max\n"
                                 "level_table 800000 600000 400000 200000\n"
                                 "\n"
                                 "[charger]\n"
                                 "type charger\n"
                                 "node_path /sys/charger/max\n"
                                 "level_table 3000 2000 1000\n"
                                 "\n"
                                 "[alarm]\n"
                                 "type report\n"
                                 "node_path /data/vendor/thermal/alarms\n";
constexpr char kExampleConfiguration[] = "SCEN Default\n"
                                         "[cpu_less]\n"
                                         "algo_type monitor\n"
                                         "sensor cpu\n"
                                         "thresholds 60000 70000 80000\n"
                                         "thresholds_clr 57000 67000 77000\n"
                                         "actions clock clock clock\n"
                                         "action_info 1 2 3\n"
                                         "\n"
                                         "[battery_less]\n"
                                         "algo_type monitor\n"
                                         "sensor battery\n"
                                         "thresholds 40000 45000\n"
                                         "thresholds_clr 38000 43000\n"
                                         "actions charger charger\n"
                                         "action_info 1 2\n"
                                         "\n"
                                         "[cpu_alarm]\n"
                                         "algo_type monitor\n"
                                         "sensor cpu\n"
                                         "thresholds 90000\n"
                                         "thresholds_clr 85000\n"
                                         "actions alarm\n"
                                         "action_info 1\n";

bool hasExample(const Rule& rule) {
  return !rule.example.bad.empty();
}

std::string withLineFeed(std::string text) {
  return text.empty() || text.back() == '\n' ? text : text + '\n';
}

std::string fenced(const std::string& text) {
  return "```text\n" + withLineFeed(text) + "```\n";
}

std::string indented(const std::string& text) {
  std::istringstream lines(text);
  std::string result;
  for (std::string line; std::getline(lines, line);)
    result += (line.empty() ? "" : "    ") + line + '\n';
  return result;
}

// Keeps Markdown from taking parts of a plain text for its own signs.
std::string escaped(const std::string& text) {
  std::string result;
  for (const char c : text) {
    if (std::string("\\`*<").find(c) != std::string::npos) result += '\\';
    result += c;
  }
  return result;
}

void printChapter(std::ostream& out, const char* title, const std::vector<Rule>& rules) {
  out << "\n## " << title << '\n';
  for (const Rule& rule : rules) {
    out << "\n### " << rule.name << "\n\n" << wrapped(markdownOf(rule), kPageWidth);
    if (hasExample(rule))
      out << "\nIt tells of\n\n"
          << fenced(rule.example.bad) << "\nand not of\n\n"
          << fenced(rule.example.good);
  }
}

Json toJson(const Rule& rule) {
  Json json = {{"rule", rule.name},
               {"severity", nameOf(rule.severity)},
               {"summary", summaryOf(rule)},
               {"explanation", rule.explanation}};
  if (hasExample(rule)) json["example"] = {{"bad", rule.example.bad}, {"good", rule.example.good}};
  return json;
}

} // namespace

std::string summaryOf(const Rule& rule) {
  // A full stop inside of a file's name has no space behind it.
  const std::string text = rule.explanation;
  return text.substr(0, text.find(". ")) + (text.find(". ") == std::string::npos ? "" : ".");
}

void printExplanations(std::ostream& out, const std::vector<Rule>& rules) {
  const char* between = "";
  for (const Rule& rule : rules) {
    out << between << rule.name << " (" << nameOf(rule.severity) << ")\n\n"
        << wrapped(rule.explanation, kTerminalWidth);
    if (hasExample(rule))
      out << "\nIt tells of\n\n"
          << indented(rule.example.bad) << "\nand not of\n\n"
          << indented(rule.example.good);
    between = "\n";
  }
}

void printExplanationAsJson(std::ostream& out, const Rule& rule) {
  out << jsonText(toJson(rule), 2) << '\n';
}

void printExplanationsAsJson(std::ostream& out, const std::vector<Rule>& rules) {
  Json list = Json::array();
  for (const Rule& rule : rules)
    list.push_back(toJson(rule));
  out << jsonText(list, 2) << '\n';
}

std::string markdownOf(const Rule& rule) {
  return (rule.severity == Severity::kError ? "**Error.** " : "**Warning.** ") +
         escaped(rule.explanation);
}

void printRulesPage(std::ostream& out) {
  out << "# The rules of thermalctl check\n\n"
      << wrapped("What `thermalctl check` looks for in the two files. An error leaves a sensor, a "
                 "device or an item dead or wrong, or ends the daemon; a warning is for the rest. "
                 "`--disable RULE` leaves a rule out, `--error RULE` and `--warn RULE` change what "
                 "it finds; "
                 "what ends the daemon stays an error. This page is what `thermalctl check "
                 "--explain all --format markdown` prints.",
                 kPageWidth);
  out << "\n## The board of the examples\n\n"
      << wrapped("Lines of an example take the place of those of the same key in the first item of "
                 "this board. Whole sections and items are added to it, or take the place of those "
                 "of the same name. \"== NAME\" begins a further file.",
                 kPageWidth)
      << '\n'
      << fenced(kExampleBoard) << '\n'
      << fenced(kExampleConfiguration);
  printChapter(out, "The environment file", environmentRules());
  printChapter(out, "The configuration", configurationRules());
  printChapter(out, "The settings file", kSettingsRules);
}
