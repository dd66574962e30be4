#include <unistd.h>

#include <algorithm>
#include <iostream>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "check/Check.h"
#include "check/Inspection.h"
#include "check/output/Explanation.h"
#include "check/output/Json.h"
#include "check/output/PlainText.h"
#include "check/output/Sarif.h"
#include "command/Command.h"
#include "text/Nearest.h"

namespace {

struct Options {
  std::string environment;
  std::vector<std::string> configurations;
  std::string format = "text";
  bool werror = false;
  std::vector<std::string> disabledRules;
  std::optional<std::string> nodesRoot;
  std::string explainedRule;
  bool listsRules = false;
};

constexpr char kExamples[] =
    "Examples:\n"
    "  thermalctl check --env talmor-thermal.env --conf talmor-thermal.conf\n"
    "  thermalctl check --env board.env --conf day.conf --conf night.conf --werror\n"
    "  thermalctl check --env board.env --nodes             on the device itself\n"
    "  thermalctl check --env board.env --nodes /mnt/image  below a mounted image\n"
    "  thermalctl check --env board.env --format sarif > findings.sarif\n"
    "  thermalctl check --explain RULE\n"
    "\n"
    "Exit status: 0 no errors (with --werror: no warnings either), 1 problems found,\n"
    "2 a file could not be read or the command line is wrong.";

std::vector<std::string> ruleNames() {
  std::vector<std::string> names;
  for (const Rule& rule : allRules())
    names.emplace_back(rule.name);
  return names;
}

void requireRule(const std::string& option, const std::string& name) {
  const std::vector<std::string> names = ruleNames();
  if (std::find(names.begin(), names.end(), name) != names.end()) return;
  const std::string hint = didYouMean(name, names);
  throw CLI::ValidationError(option, "there is no rule '" + name + "'" +
                                         (hint.empty() ? "" : "; " + hint) +
                                         " (--list-rules shows them all)");
}

void listRules() {
  for (const Rule& rule : allRules())
    std::cout << rule.name << '\n';
}

void explain(const Options& options) {
  const std::string& name = options.explainedRule;
  if (name != "all") requireRule("--explain", name);
  if (options.format == "markdown" && name == "all") return printRulesPage(std::cout);
  if (options.format != "text")
    throw CLI::ValidationError("--explain", "cannot explain " + name + " as " + options.format);
  std::vector<Rule> rules;
  for (const Rule& rule : allRules())
    if (name == "all" || name == rule.name) rules.push_back(rule);
  printExplanations(std::cout, rules);
}

InspectionOrder orderOf(const Options& options) {
  if (options.environment.empty()) throw CLI::RequiredError("--env");
  if (options.format == "markdown")
    throw CLI::ValidationError("--format", "markdown is for --explain all");
  for (const std::string& rule : options.disabledRules)
    requireRule("--disable", rule);
  return {options.environment,
          options.configurations,
          options.nodesRoot,
          {options.disabledRules.begin(), options.disabledRules.end()}};
}

void print(const Inspection& inspection, const std::string& format) {
  if (format == "json") return printJson(std::cout, inspection);
  if (format == "sarif") return printSarif(std::cout, inspection);
  printText(std::cout, inspection.findings, inspection.sources, colourFor(STDOUT_FILENO));
}

ExitStatus statusOf(const Inspection& inspection, bool werror) {
  if (!inspection.unread.empty()) return kCouldNotRun;
  const size_t problems = werror ? inspection.findings.size() : errorsIn(inspection.findings);
  return problems > 0 ? kProblems : kFine;
}

ExitStatus checkFiles(const Options& options) {
  const Inspection inspection = inspect(orderOf(options));
  for (const UnreadFile& file : inspection.unread)
    complain(kCouldNotRun, describe(file));
  print(inspection, options.format);
  return statusOf(inspection, options.werror);
}

ExitStatus run(const Options& options) {
  if (options.listsRules)
    listRules();
  else if (!options.explainedRule.empty())
    explain(options);
  else
    return checkFiles(options);
  return kFine;
}

} // namespace

void addCheckCommand(CLI::App& app, int& status) {
  CLI::App* command =
      app.add_subcommand("check", "Tell what the daemon will do wrong with a board's two files");
  const auto options = std::make_shared<Options>();
  command->add_option("--env", options->environment, "The environment file")->type_name("FILE");
  command->add_option("--conf", options->configurations, "A configuration for it; any number")
      ->type_name("FILE");
  command
      ->add_option("--format", options->format,
                   "Of the results: text, json or sarif; for --explain all also markdown")
      ->check(CLI::IsMember({"text", "json", "sarif", "markdown"}))
      ->capture_default_str();
  command->add_flag("--werror", options->werror, "Exit with status 1 on warnings, too");
  command->add_option("--disable", options->disabledRules, "Leave a rule out; any number")
      ->type_name("RULE");
  command
      ->add_option("--nodes", options->nodesRoot,
                   "Also look for every node, below ROOT (by itself: below /)")
      ->type_name("[ROOT]")
      ->expected(0, 1)
      ->default_str("/");
  command
      ->add_option("--explain", options->explainedRule,
                   "Print what a rule, or each of them (all), is about")
      ->type_name("RULE");
  command->add_flag("--list-rules", options->listsRules, "Print the names of the rules");
  command->footer(kExamples);
  command->callback([options, &status] { status = run(*options); });
}
