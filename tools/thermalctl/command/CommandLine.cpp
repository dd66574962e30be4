#include "command/CommandLine.h"

#include <algorithm>
#include <iostream>
#include <string_view>

// Compiled here alone: it takes longer than all of the commands together.
#include <CLI/CLI.hpp>
#include <fmt/core.h>

#include "text/Characters.h"
#include "text/Nearest.h"
#include "text/Numbers.h"
#include "text/Phrases.h"

namespace {

constexpr char kExamples[] =
    "Examples:\n"
    "  thermalctl check --env talmor-thermal.env --conf talmor-thermal.conf\n"
    "  thermalctl scenario game\n"
    "  thermalctl reload night.conf\n"
    "  thermalctl status --watch\n"
    "  thermalctl simulate --board boards/phone --workload game --out report\n"
    "\n"
    "thermalctl COMMAND --help tells more about each.\n"
    "Exit status: 0 fine, 1 problems found, 2 could not run.";

std::string wrongCommandLine(const std::string& what) {
  return "thermalctl: " + visible(what) + "\nRun with --help for more information.\n";
}

std::string withHint(const std::string& what, const std::string& word,
                     const std::vector<std::string>& known) {
  const std::string hint = didYouMean(word, known);
  return hint.empty() ? what : what + "; " + hint;
}

std::vector<std::string> namesOf(const std::vector<Command>& commands) {
  std::vector<std::string> names(commands.size());
  std::transform(commands.begin(), commands.end(), names.begin(),
                 [](const Command& command) { return command.name; });
  return names;
}

std::string thereAre(const std::vector<std::string>& names) {
  return (names.size() == 1 ? "there is " : "there are ") + enumerated(names);
}

std::string noSuchCommand(const std::string& word, const std::vector<Command>& commands) {
  const std::vector<std::string> names = namesOf(commands);
  return "there is no command '" + word + "'; " + didYouMean(word, names, thereAre(names));
}

std::string noSuchOption(const std::string& word, const CLI::App& command) {
  std::vector<std::string> names;
  for (const CLI::Option* option : command.get_options())
    if (!option->get_lnames().empty()) names.push_back("--" + option->get_lnames().front());
  const std::string name = word.substr(0, word.find('='));
  return withHint("there is no option '" + name + "'", name, names);
}

// The cause of an error of the library's, where there is one that it does not see: a word that is
// nearly right leaves another one missing.
std::optional<std::string> mistypedWord(const CLI::App& app, const std::vector<Command>& commands) {
  const std::vector<CLI::App*> chosen = app.get_subcommands();
  for (const std::string& word : app.remaining(true)) {
    const bool isOption = word.size() > 1 && word.front() == '-';
    if (isOption) return noSuchOption(word, chosen.empty() ? app : *chosen.front());
    if (chosen.empty()) return noSuchCommand(word, commands);
  }
  return std::nullopt;
}

// "--env FILE", as it is to be written.
std::string usageOf(const CLI::Option& option) {
  const std::string type = option.get_type_name();
  // Of a word that is one of several, those.
  const std::string value = type.substr(type.find(':') + 1);
  return option.get_positional() ? option.get_name() : option.get_name() + " " + value;
}

// What a command takes, of one kind.
template <typename IsOne> std::vector<std::string> usages(const CLI::App& command, IsOne isOne) {
  std::vector<std::string> texts;
  for (const CLI::Option* option : command.get_options())
    if (isOne(*option)) texts.push_back(usageOf(*option));
  return texts;
}

std::string missing(const CLI::App& command) {
  const std::vector<std::string> all = usages(command, [](const CLI::Option& option) {
    return option.get_required() && option.count() == 0;
  });
  const std::string first = all.front().substr(0, all.front().find(' '));
  const bool isArgument = first.front() != '-';
  return first + " is required; write " +
         (isArgument ? "thermalctl " + command.get_name() + " " + first : all.front());
}

// A word that no option of the command takes, and no argument.
std::string oneTooMany(const std::string& word, const CLI::App& command) {
  const std::string what = "there is no place for " + quoted(word);
  const std::vector<std::string> own =
      usages(command, [](const CLI::Option& option) { return option.get_positional(); });
  const std::string takes = "; " + command.get_name() + " takes ";
  if (!own.empty()) return what + takes + enumerated(own) + " alone";
  return what + takes + "no word without its option, such as " +
         usages(command, [](const CLI::Option& option) {
           return option.get_expected_max() > 0;
         }).front();
}

// The option that a complaint of the library begins with, of a flag without its dashes.
const CLI::Option* optionIn(const std::string& complaint, const CLI::App& command) {
  const std::string name = complaint.substr(0, complaint.find_first_of(": "));
  const CLI::Option* option = command.get_option_no_throw(name);
  return option ? option : command.get_option_no_throw("--" + name);
}

// What is wrong with how often, or with how many values, an option is given.
std::string wrongNumber(const CLI::Option& option) {
  if (option.get_expected_max() == 0) return option.get_name() + " takes no value";
  if (option.count() < 2) return option.get_name() + " lacks its value; write " + usageOf(option);
  return option.get_name() + " is given " + std::to_string(option.count()) +
         " times, and can be once; leave all but one out";
}

// What the library complains of, in the words of all others.
std::string complaintOf(const CLI::App& app, const CLI::Error& error,
                        const std::vector<Command>& commands) {
  if (const auto mistyped = mistypedWord(app, commands)) return *mistyped;
  const std::vector<CLI::App*> chosen = app.get_subcommands();
  if (chosen.empty()) return "no command is given; " + thereAre(namesOf(commands));
  const CLI::App& command = *chosen.front();
  // Not by its name, which is the command's where a word is left over.
  const auto kind = static_cast<CLI::ExitCodes>(error.get_exit_code());
  if (kind == CLI::ExitCodes::RequiredError) return missing(command);
  if (kind == CLI::ExitCodes::ExtrasError) return oneTooMany(app.remaining(true).front(), command);
  const CLI::Option* option = optionIn(error.what(), command);
  const bool isOwn = kind == CLI::ExitCodes::ValidationError || !option;
  return isOwn ? error.what() : wrongNumber(*option);
}

// The library would take octal and hexadecimal digits for one, too.
bool isWholeNumber(const std::string& word) {
  return word.find_first_not_of("0123456789") == std::string::npos && word.front() != '0';
}

CLI::Validator isNumber(double least, double most, bool isWhole) {
  const auto complaint = [=](const std::string& word) {
    const std::optional<double> number = parseNumber(word);
    const bool isOne = number && (!isWhole || isWholeNumber(word));
    if (isOne && *number >= least && *number <= most) return std::string();
    return fmt::format("{} is no {}number from {} to {}", quoted(word), isWhole ? "whole " : "",
                       least, most);
  };
  return CLI::Validator(complaint, "");
}

// Of those that nobody means only the names are of use, and to make all their options takes as long
// as a short command does.
void addCommand(CLI::App& app, const Command& command, bool isMeant, int& status) {
  CLI::App* added = app.add_subcommand(command.name, command.description);
  CommandLine line(added);
  if (isMeant) command.addOptions(line);
  added->footer(command.examples);
  // The library calls it while it parses, and lets its exceptions through.
  added->callback([&command, &status] { status = command.run(); });
  added->group("Commands");
}

} // namespace

const CommandOption& CommandOption::takes(const std::string& what) const {
  option->type_name(what);
  return *this;
}

const CommandOption& CommandOption::showsAs(const std::string& text) const {
  option->option_text(text);
  return *this;
}

const CommandOption& CommandOption::showsDefault() const {
  option->capture_default_str();
  return *this;
}

const CommandOption& CommandOption::isRequired() const {
  option->required();
  return *this;
}

const CommandOption& CommandOption::isOneOf(const std::vector<std::string>& words) const {
  const auto complaint = [words](const std::string& word) {
    if (std::find(words.begin(), words.end(), word) != words.end()) return std::string();
    return withHint(quoted(word) + " is none of " + enumerated(words), word, words);
  };
  option->check(CLI::Validator(complaint, CLI::detail::generate_set(words)));
  return *this;
}

const CommandOption& CommandOption::isWithin(double least, double most) const {
  option->check(isNumber(least, most, isWhole));
  return *this;
}

const CommandOption& CommandOption::mayStandAlone(const std::string& value) const {
  option->expected(0, 1)->default_str(value);
  return *this;
}

const CommandOption& CommandOption::takesAll() const {
  option->take_all();
  return *this;
}

CommandOption CommandLine::option(const std::string& name, OptionValue value,
                                  const std::string& help) {
  return CommandOption(
      std::visit([&](auto* one) { return app->add_option(name, *one, help); }, value),
      std::holds_alternative<uint64_t*>(value));
}

void CommandLine::flag(const std::string& name, bool* value, const std::string& help) {
  app->add_flag(name, *value, help)->disable_flag_override();
}

int runCommand(const std::vector<Command>& commands, int argc, char* argv[]) {
  CLI::App app("Checks the files of talmor-thermal and steers the running daemon.", "thermalctl");
  int status = kFine;
  app.require_subcommand(1);
  app.set_version_flag("--version", "thermalctl " THERMALCTL_VERSION, "Print the version and exit");
  app.failure_message([&commands](const CLI::App* whole, const CLI::Error& error) {
    return wrongCommandLine(complaintOf(*whole, error, commands));
  });
  app.get_formatter()->label("SUBCOMMAND", "COMMAND");
  app.footer(kExamples);
  for (const Command& command : commands)
    addCommand(app, command, std::count(argv, argv + argc, std::string_view(command.name)) > 0,
               status);
  try {
    app.parse(argc, argv);
  } catch (const CLI::ParseError& ending) {
    // Help and version end with 0, a wrong command line like everything that keeps a command from
    // running.
    return app.exit(ending) == 0 ? kFine : kCouldNotRun;
  } catch (const UsageError& error) {
    std::cerr << wrongCommandLine(error.what());
    return kCouldNotRun;
  }
  return status;
}
