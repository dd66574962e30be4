#include <unistd.h>

#include <algorithm>
#include <iostream>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include <fmt/core.h>

#include "check/Check.h"
#include "check/Inspection.h"
#include "check/output/Annotations.h"
#include "check/output/Explanation.h"
#include "check/output/Json.h"
#include "check/output/PlainText.h"
#include "check/output/Sarif.h"
#include "command/Commands.h"
#include "coverage/CoverageOutput.h"
#include "text/Nearest.h"

namespace {

struct CheckOptions {
  std::string environment;
  std::vector<std::string> configurations;
  std::string format = "text";
  bool werror = false;
  std::vector<std::string> disabledRules;
  std::vector<std::string> errorRules;
  std::vector<std::string> warningRules;
  std::optional<std::string> nodesRoot;
  bool showsCoverage = false;
  std::string explainedRule;
  bool listsRules = false;
};

constexpr char kCheckExamples[] =
    "Examples:\n"
    "  thermalctl check --env talmor-thermal.env --conf talmor-thermal.conf\n"
    "  thermalctl check --env board.env --conf day.conf --conf night.conf --werror\n"
    "  thermalctl check --env board.env --nodes             on the device itself\n"
    "  thermalctl check --env board.env --nodes /mnt/image  below a mounted image\n"
    "  thermalctl check --env board.env --format sarif > findings.sarif\n"
    "  thermalctl check --env board.env --conf day.conf --error unused-device --warn degrees\n"
    "  thermalctl check --env board.env --conf day.conf night.conf --coverage\n"
    "  thermalctl check --explain RULE\n"
    "\n"
    "thermalctl.toml beside the environment file silences findings, each with a reason, and says\n"
    "what a sensor's node counts in.\n"
    "\n"
    "Exit status: 0 no errors (with --werror: no warnings either), 1 problems found,\n"
    "2 a file could not be read, or the settings or the command line are wrong.";

std::vector<std::string> ruleNames() {
  std::vector<std::string> names;
  for (const Rule& rule : allRules())
    names.emplace_back(rule.name);
  return names;
}

// A slip in a rule's name would leave out nothing, and say nothing.
void requireRule(const std::string& option, const std::string& name) {
  const std::vector<std::string> names = ruleNames();
  if (std::find(names.begin(), names.end(), name) != names.end()) return;
  const std::string hint = didYouMean(name, names);
  throw UsageError(option + ": there is no rule '" + name + "'" +
                   (hint.empty() ? "" : "; " + hint) + " (--list-rules shows them all)");
}

void listRules() {
  for (const Rule& rule : allRules())
    std::cout << rule.name << '\n';
}

void explain(const CheckOptions& options) {
  const std::string& name = options.explainedRule;
  if (name != "all") requireRule("--explain", name);
  if (options.format == "markdown" && name == "all") return printRulesPage(std::cout);
  if (options.format != "text" && options.format != "json")
    throw UsageError("--explain: cannot explain " + name + " as " + options.format);
  std::vector<Rule> rules;
  for (const Rule& rule : allRules())
    if (name == "all" || name == rule.name) rules.push_back(rule);
  if (options.format == "text")
    printExplanations(std::cout, rules);
  else if (name == "all")
    printExplanationsAsJson(std::cout, rules);
  else
    printExplanationAsJson(std::cout, rules.front());
}

// The rules behind an option, none of which another option has as well.
std::set<std::string> chosen(const std::string& option, const std::vector<std::string>& rules,
                             std::map<std::string, std::string>& choices) {
  for (const std::string& rule : rules) {
    requireRule(option, rule);
    const std::string& other = choices.emplace(rule, option).first->second;
    if (other != option)
      throw UsageError(fmt::format("{}: {} is given to {}, too", option, rule, other));
  }
  return {rules.begin(), rules.end()};
}

RuleChoice choiceOf(const CheckOptions& options) {
  std::map<std::string, std::string> choices;
  RuleChoice choice;
  choice.disabled = chosen("--disable", options.disabledRules, choices);
  choice.errors = chosen("--error", options.errorRules, choices);
  choice.warnings = chosen("--warn", options.warningRules, choices);
  return choice;
}

// Errors: a format that does not fit what is asked for is none of the library's to tell: each is
//         one of the words that --format takes.
InspectionOrder orderOf(const CheckOptions& options) {
  if (options.environment.empty()) throw UsageError("--env is required; write --env FILE");
  if (options.format == "markdown") throw UsageError("--format: markdown is for --explain all");
  const bool isPage = options.format == "html";
  if (isPage && !options.showsCoverage) throw UsageError("--format: html is for --coverage");
  if (options.showsCoverage && !isPage && options.format != "text" && options.format != "json")
    throw UsageError("--coverage: is shown as text, json or html, and not as " + options.format);
  return {options.environment, options.configurations, options.nodesRoot, choiceOf(options)};
}

void print(const Inspection& inspection, const std::string& format) {
  if (format == "json") return printJson(std::cout, inspection);
  if (format == "sarif") return printSarif(std::cout, inspection);
  if (format == "github") return printAnnotations(std::cout, inspection);
  printText(std::cout, inspection, colourFor(STDOUT_FILENO));
}

void showCoverage(const Inspection& inspection, const std::string& format) {
  const Coverage coverage(inspection.environment, inspection.configurations);
  if (format == "json") return printCoverageAsJson(std::cout, coverage);
  if (format == "html") return printCoverageAsPage(std::cout, coverage);
  printCoverage(std::cout, coverage);
}

ExitStatus statusOf(const Inspection& inspection, bool werror) {
  // Even if all that was read is fine: it is no answer to what was asked.
  if (!inspection.isWhole()) return kCouldNotRun;
  const size_t problems = werror ? inspection.findings.size() : errorsIn(inspection.findings);
  return problems > 0 ? kProblems : kFine;
}

ExitStatus checkFiles(const CheckOptions& options) {
  const Inspection inspection = inspect(orderOf(options));
  for (const UnreadFile& file : inspection.unread)
    complain(kCouldNotRun, describe(file));
  inspection.problems.print(std::cerr, colourFor(STDERR_FILENO));
  // In the place of the findings, and with their exit status: a CI may keep the one and go by the
  // other.
  if (options.showsCoverage)
    showCoverage(inspection, options.format);
  else
    print(inspection, options.format);
  return statusOf(inspection, options.werror);
}

ExitStatus runCheck(const CheckOptions& options) {
  if (options.listsRules)
    listRules();
  else if (!options.explainedRule.empty())
    explain(options);
  else
    return checkFiles(options);
  return kFine;
}

void addCheckOptions(CommandLine& line, CheckOptions& options) {
  line.option("--env", &options.environment, "The environment file").takes("FILE");
  line.option("--conf", &options.configurations, "A configuration for it; any number")
      .takes("FILE");
  line.option(
          "--format", &options.format,
          "Of the results: text, json, sarif or github; of the coverage: text, json or html; of "
          "an explanation: text or json, of all of them also markdown")
      .isOneOf({"text", "json", "sarif", "github", "markdown", "html"})
      .showsDefault();
  line.flag("--werror", &options.werror, "Exit with status 1 on warnings, too");
  line.option("--disable", &options.disabledRules, "Leave a rule out; any number").takes("RULE");
  line.option("--error", &options.errorRules, "Have a rule find errors; any number").takes("RULE");
  line.option("--warn", &options.warningRules,
              "Have a rule find warnings, but for what ends the daemon; any number")
      .takes("RULE");
  line.option("--nodes", &options.nodesRoot,
              "Also look for every node, below ROOT (by itself: below /)")
      .takes("[ROOT]")
      .mayStandAlone("/");
  line.flag("--coverage", &options.showsCoverage,
            "Show which sensor is cooled where instead of the findings: from which temperature "
            "on, on which devices, up to which level");
  line.option("--explain", &options.explainedRule,
              "Print what a rule, or each of them (all), is about")
      .takes("RULE");
  line.flag("--list-rules", &options.listsRules, "Print the names of the rules");
}

} // namespace

Command checkCommand() {
  return commandOf("check", "Tell what the daemon will do wrong with a board's two files",
                   kCheckExamples, addCheckOptions, runCheck);
}
