#include "check/output/Explanation.h"

#include <nlohmann/json.hpp>

#include "check/Check.h"
#include "check/Silencing.h"
#include "text/Phrases.h"

namespace {

using Json = nlohmann::ordered_json;

constexpr size_t kTerminalWidth = 80;
constexpr size_t kPageWidth = 110;

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
  for (const Rule& rule : rules)
    out << "\n### " << rule.name << "\n\n" << wrapped(markdownOf(rule), kPageWidth);
}

Json toJson(const Rule& rule) {
  return {{"rule", rule.name},
          {"severity", nameOf(rule.severity)},
          {"summary", summaryOf(rule)},
          {"explanation", rule.explanation}};
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
    between = "\n";
  }
}

void printExplanationAsJson(std::ostream& out, const Rule& rule) {
  out << toJson(rule).dump(2) << '\n';
}

void printExplanationsAsJson(std::ostream& out, const std::vector<Rule>& rules) {
  Json list = Json::array();
  for (const Rule& rule : rules)
    list.push_back(toJson(rule));
  out << list.dump(2) << '\n';
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
  printChapter(out, "The environment file", environmentRules());
  printChapter(out, "The configuration", configurationRules());
  printChapter(out, "The settings file", kSettingsRules);
}
