#include <unistd.h>

#include <filesystem>
#include <functional>
#include <iostream>
#include <limits>
#include <optional>

#include "base/Names.h"
#include "check/Inspection.h"
#include "command/Commands.h"
#include "command/ControlOptions.h"
#include "status/BoardStatus.h"
#include "status/StatusTable.h"
#include "terminal/Colour.h"
#include "terminal/LiveTerminal.h"

namespace {

struct StatusOptions : ControlOptions {
  std::string environment = kEnvironmentFile;
  std::string root;
  bool watch = false;
};

// Below the root, unless the user has named another place for it.
std::string placeOf(const std::string& path, const char* usual, const std::string& root) {
  return path == usual ? root + path : path;
}

constexpr char kStatusExamples[] =
    "Examples:\n"
    "  thermalctl status\n"
    "  thermalctl status --watch\n"
    "  thermalctl status --env board.env --dir /tmp/board/data/vendor/thermal\n"
    "  thermalctl status --root /tmp/board\n"
    "\n"
    "It only reads, and disturbs nobody. The files do not tell whether a daemon is running, nor\n"
    "whether it has already taken the scenario over that someone has asked for: thermalctl "
    "scenario\n"
    "finds out.\n"
    "\n"
    "Exit status: 0 fine, 1 a file or a node is missing or cannot be read, 2 the environment or "
    "the\n"
    "directory cannot be read, or --watch is not on a terminal.";

ExitStatus show(const BoardStatus& status) {
  for (const TerminalLine& line : tableOf(status))
    std::cout << shown(line, colourFor(STDOUT_FILENO), std::numeric_limits<size_t>::max()) << '\n';
  return status.hasFault() ? kProblems : kFine;
}

ExitStatus watch(const std::function<BoardStatus()>& look) {
  if (!LiveTerminal::isPossible()) return complain(kCouldNotRun, "--watch needs a terminal");
  LiveTerminal terminal;
  do {
    std::vector<TerminalLine> lines = tableOf(look());
    lines.push_back({});
    lines.push_back({"every second; q quits"});
    terminal.draw(lines, colourFor(STDOUT_FILENO));
  } while (terminal.goesOnAfter(std::chrono::seconds(1)));
  return kFine;
}

// A slash at its end would stand twice in every path.
std::string rootOf(std::string root) {
  while (!root.empty() && root.back() == '/')
    root.pop_back();
  return root;
}

std::optional<std::string> faultOf(const std::string& directory) {
  std::error_code error;
  const std::filesystem::file_status status = std::filesystem::status(directory, error);
  if (status.type() == std::filesystem::file_type::not_found)
    return "no such directory: " + directory;
  if (error) return "cannot read " + directory + ": " + error.message();
  if (!std::filesystem::is_directory(status)) return "not a directory: " + directory;
  return std::nullopt;
}

ExitStatus runStatus(const StatusOptions& options) {
  const std::string root = rootOf(options.root);
  const ControlDirectory directory(placeOf(options.directory, kDataDirectory, root));
  const std::string file = placeOf(options.environment, kEnvironmentFile, root);
  if (const auto fault = faultOf(directory.path)) return complain(kCouldNotRun, *fault);
  // With the settings beside it, which say what a node counts in.
  const Inspection board = inspect({file, {}, std::nullopt, {}});
  if (!board.hasBoard) return complain(kCouldNotRun, describe(board.unread.front()));
  const auto look = [&] { return readStatus(directory, board.environment, root); };
  return options.watch ? watch(look) : show(look());
}

void addStatusOptions(CommandLine& line, StatusOptions& options) {
  addDirectoryOption(line, options);
  line.option("--env", &options.environment, "The environment file of the running daemon")
      .takes("FILE")
      .showsDefault();
  line.option("--root", &options.root,
              "Folder below which the nodes are, and the other two unless named")
      .takes("DIR");
  line.flag("--watch", &options.watch, "Draw the table anew each second, until q is pressed");
}

} // namespace

Command statusCommand() {
  return commandOf("status", "Show the scenario, the pending request, and every node's value",
                   kStatusExamples, addStatusOptions, runStatus);
}
