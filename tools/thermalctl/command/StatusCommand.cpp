#include <unistd.h>

#include <cerrno>
#include <filesystem>
#include <iostream>
#include <limits>

#include "base/Names.h"
#include "base/TextReader.h"
#include "command/Commands.h"
#include "command/ControlOptions.h"
#include "status/BoardStatus.h"
#include "status/StatusTable.h"
#include "terminal/Colour.h"
#include "terminal/LiveTerminal.h"

namespace {

struct Options : ControlOptions {
  std::string environment = kEnvironmentFile;
  bool watch = false;
};

constexpr char kExamples[] =
    "Examples:\n"
    "  thermalctl status\n"
    "  thermalctl status --watch\n"
    "  thermalctl status --env board.env --dir /tmp/board/data/vendor/thermal\n"
    "\n"
    "It only reads, and disturbs nobody. The files do not tell whether a daemon is running, nor\n"
    "whether it has already taken the scenario over that someone has asked for: thermalctl "
    "scenario\n"
    "finds out.\n"
    "\n"
    "Exit status: 0 fine, 1 a file or a node is missing or cannot be read, 2 the environment or "
    "the\n"
    "directory cannot be read, or --watch is not on a terminal.";

ExitStatus show(const ControlDirectory& directory, const Environment& environment) {
  const BoardStatus status = readStatus(directory, environment);
  for (const TerminalLine& line : tableOf(status))
    std::cout << shown(line, colourFor(STDOUT_FILENO), std::numeric_limits<size_t>::max()) << '\n';
  return status.hasFault() ? kProblems : kFine;
}

ExitStatus watch(const ControlDirectory& directory, const Environment& environment) {
  if (!LiveTerminal::isPossible()) return complain(kCouldNotRun, "--watch needs a terminal");
  LiveTerminal terminal;
  do {
    std::vector<TerminalLine> lines = tableOf(readStatus(directory, environment));
    lines.push_back({});
    lines.push_back({"every second; q quits"});
    terminal.draw(lines, colourFor(STDOUT_FILENO));
  } while (terminal.goesOnAfter(std::chrono::seconds(1)));
  return kFine;
}

ExitStatus run(const Options& options) {
  std::error_code error;
  if (!std::filesystem::is_directory(options.directory, error))
    return complain(kCouldNotRun, "no such directory: " + options.directory);
  const std::optional<std::string> content = readFile(options.environment);
  if (!content) {
    error = {errno, std::generic_category()};
    return complain(kCouldNotRun, "cannot read " + options.environment + ": " + error.message());
  }
  const Environment environment = readEnvironment(options.environment, *content);
  const ControlDirectory directory(options.directory);
  return options.watch ? watch(directory, environment) : show(directory, environment);
}

void addOptions(CommandLine& line, Options& options) {
  addDirectoryOption(line, options);
  line.option("--env", &options.environment, "The environment file of the running daemon")
      .takes("FILE")
      .showsDefault();
  line.flag("--watch", &options.watch, "Draw the table anew each second, until q is pressed");
}

} // namespace

Command statusCommand() {
  return commandOf("status", "Show the scenario, the pending request, and every node's value",
                   kExamples, addOptions, run);
}
