#include "command/CommandLine.h"

#include <algorithm>
#include <iostream>

// Compiled here alone: it takes longer than all of the commands together.
#include <CLI/CLI.hpp>

#include "text/Characters.h"
#include "text/Nearest.h"
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

std::string noSuchCommand(const std::string& word, const std::vector<Command>& commands) {
  std::vector<std::string> names(commands.size());
  std::transform(commands.begin(), commands.end(), names.begin(),
                 [](const Command& command) { return command.name; });
  const std::string what = "there is no command '" + word + "'";
  return what + "; " + didYouMean(word, names, "there are " + enumerated(names));
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

void addCommand(CLI::App& app, const Command& command, int& status) {
  CLI::App* added = app.add_subcommand(command.name, command.description);
  CommandLine line(added);
  command.addOptions(line);
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
    return withHint(word + " not in " + CLI::detail::generate_set(words), word, words);
  };
  option->check(CLI::Validator(complaint, CLI::detail::generate_set(words)));
  return *this;
}

const CommandOption& CommandOption::isWithin(double least, double most) const {
  option->check(CLI::Range(least, most));
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
      std::visit([&](auto* one) { return app->add_option(name, *one, help); }, value));
}

void CommandLine::flag(const std::string& name, bool* value, const std::string& help) {
  app->add_flag(name, *value, help);
}

int runCommand(const std::vector<Command>& commands, int argc, char* argv[]) {
  CLI::App app("Checks the files of talmor-thermal and steers the running daemon.", "thermalctl");
  int status = kFine;
  app.require_subcommand(1);
  app.set_version_flag("--version", "thermalctl " THERMALCTL_VERSION, "Print the version and exit");
  app.failure_message([&commands](const CLI::App* whole, const CLI::Error& error) {
    return wrongCommandLine(mistypedWord(*whole, commands).value_or(error.what()));
  });
  app.get_formatter()->label("SUBCOMMAND", "COMMAND");
  app.footer(kExamples);
  for (const Command& command : commands)
    addCommand(app, command, status);
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
