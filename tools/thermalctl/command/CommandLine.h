#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <variant>
#include <vector>

#include "command/ExitStatus.h"

namespace CLI {
class App;
class Option;
} // namespace CLI

// How one option is written, shown and held to.
//
// Shape:  the calls follow one another on one option. It is good as long as the command line is
//         read.
// Errors: what the user gives against it is told with what to write, and no command runs.
class CommandOption {
public:
  CommandOption(CLI::Option* option_, bool isWhole_) : option(option_), isWhole(isWhole_) {}

  // What stands behind it in the help, such as "FILE"; nothing for an empty text.
  const CommandOption& takes(const std::string& what) const;
  // The same, with a default that reads better than the value's own text.
  const CommandOption& showsAs(const std::string& text) const;
  const CommandOption& showsDefault() const;
  const CommandOption& isRequired() const;
  const CommandOption& isOneOf(const std::vector<std::string>& words) const;
  // A number has its bounds: what is none, or beyond them, is told with both.
  const CommandOption& isWithin(double least, double most) const;
  // Given by itself, it means `value`.
  const CommandOption& mayStandAlone(const std::string& value) const;
  // Several values may follow, and the option may come again.
  const CommandOption& takesAll() const;

private:
  CLI::Option* option;
  // Whether its value is a number without a fraction.
  bool isWhole;
};

using OptionValue = std::variant<std::string*, std::optional<std::string>*,
                                 std::vector<std::string>*, double*, uint64_t*>;

// The options of one command. Each leaves what the user gave in `value`, which must outlive the
// command.
//
// Shape:  names without "--" are those of arguments. A value that the user does not give stays as
//         it was: that is its default.
// Errors: an option of a number is told its bounds, without which the library would take what it
//         takes for one.
class CommandLine {
public:
  explicit CommandLine(CLI::App* app_) : app(app_) {}

  CommandOption option(const std::string& name, OptionValue value, const std::string& help);
  void flag(const std::string& name, bool* value, const std::string& help);

private:
  CLI::App* app;
};

// A command line that only the command itself can tell to be wrong.
//
// Errors: its text is shown like the library's own complaints, and the exit status is kCouldNotRun.
struct UsageError : std::runtime_error {
  using std::runtime_error::runtime_error;
};

// One of the things that the tool can do.
//
// Shape:  `addOptions` is called for every command before any is run, and `run` for the one that
//         the user names. What the two share, the options' values, is held by both.
// Errors: `run` tells them itself, on standard error, and returns the status. It may throw a
//         UsageError; of any other exception the tool shows the text and ends with kCouldNotRun.
struct Command {
  const char* name;
  const char* description;
  // Shown below the options.
  const char* examples;
  std::function<void(CommandLine&)> addOptions;
  std::function<ExitStatus()> run;
};

// A command whose values are those of one `Options`.
template <typename Options>
Command commandOf(const char* name, const char* description, const char* examples,
                  void (*addOptions)(CommandLine&, Options&), ExitStatus (*run)(const Options&)) {
  const auto options = std::make_shared<Options>();
  return {name, description, examples, [=](CommandLine& line) { addOptions(line, *options); },
          [=] { return run(*options); }};
}

// Runs the command that the user has named, or shows help or the version. The exit status.
int runCommand(const std::vector<Command>& commands, int argc, char* argv[]);
