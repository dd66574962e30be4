#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

#include "command/ExitStatus.h"

namespace CLI {
class App;
class Option;
} // namespace CLI

// How one option is written, shown and held to.
class CommandOption {
public:
  explicit CommandOption(CLI::Option* option_) : option(option_) {}

  // What stands behind it in the help, such as "FILE"; nothing for an empty text.
  const CommandOption& takes(const std::string& what) const;
  // The same, with a default that reads better than the value's own text.
  const CommandOption& showsAs(const std::string& text) const;
  const CommandOption& showsDefault() const;
  const CommandOption& isRequired() const;
  const CommandOption& isOneOf(const std::vector<std::string>& words) const;
  const CommandOption& isWithin(double least, double most) const;
  // Given by itself, it means `value`.
  const CommandOption& mayStandAlone(const std::string& value) const;
  // Several values may follow, and the option may come again.
  const CommandOption& takesAll() const;

private:
  CLI::Option* option;
};

// The options of one command. Each leaves what the user gave in `value`, which must outlive the
// command. Names without "--" are those of arguments.
class CommandLine {
public:
  explicit CommandLine(CLI::App* app_) : app(app_) {}

  CommandOption option(const std::string& name, std::string& value, const std::string& help);
  CommandOption option(const std::string& name, std::optional<std::string>& value,
                       const std::string& help);
  CommandOption option(const std::string& name, std::vector<std::string>& value,
                       const std::string& help);
  CommandOption option(const std::string& name, double& value, const std::string& help);
  CommandOption option(const std::string& name, uint64_t& value, const std::string& help);
  void flag(const std::string& name, bool& value, const std::string& help);

private:
  CLI::App* app;
};

// A command line that only the command itself can tell to be wrong.
struct UsageError : std::runtime_error {
  using std::runtime_error::runtime_error;
};

struct Command {
  const char* name;
  const char* description;
  // Shown below the options.
  const char* examples;
  std::function<void(CommandLine&)> addOptions;
  std::function<ExitStatus()> run;
};

// Runs the command that the user has named, or shows help or the version. The exit status.
int runCommand(const std::vector<Command>& commands, int argc, char* argv[]);
