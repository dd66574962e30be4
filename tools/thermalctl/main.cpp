#include <exception>
#include <iostream>

#include "command/Command.h"

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

std::string wrongCommandLine(const CLI::App*, const CLI::Error& error) {
  return std::string("thermalctl: ") + error.what() + "\nRun with --help for more information.\n";
}

void addCommands(CLI::App& app, int& status) {
  addCheckCommand(app, status);
  addScenarioCommand(app, status);
  addReloadCommand(app, status);
  addStatusCommand(app, status);
  addSimulateCommand(app, status);
  addPlotCommand(app, status);
  for (CLI::App* command : app.get_subcommands([](CLI::App*) { return true; }))
    command->group("Commands");
}

// Help and version end with 0, a wrong command line like everything that keeps a command from
// running.
int parse(CLI::App& app, const int& status, int argc, char* argv[]) {
  try {
    app.parse(argc, argv);
  } catch (const CLI::ParseError& ending) {
    return app.exit(ending) == 0 ? kFine : kCouldNotRun;
  }
  return status;
}

int run(int argc, char* argv[]) {
  CLI::App app("Checks the files of talmor-thermal and steers the running daemon.", "thermalctl");
  int status = kFine;
  app.require_subcommand(1);
  app.set_version_flag("--version", "thermalctl " THERMALCTL_VERSION, "Print the version and exit");
  app.failure_message(wrongCommandLine);
  app.get_formatter()->label("SUBCOMMAND", "COMMAND");
  app.footer(kExamples);
  addCommands(app, status);
  const int ending = parse(app, status, argc, argv);
  if (std::cout.flush()) return ending;
  return complain(kCouldNotRun, "cannot write the results");
}

} // namespace

int main(int argc, char* argv[]) {
  try {
    return run(argc, argv);
  } catch (const std::exception& error) {
    return complain(kCouldNotRun, error.what());
  }
}
