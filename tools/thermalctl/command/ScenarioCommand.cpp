#include <unistd.h>

#include <iostream>
#include <memory>

#include "command/Command.h"
#include "command/ControlOptions.h"
#include "control/DirectoryLock.h"
#include "control/ScenarioRequest.h"
#include "terminal/ProgressLine.h"
#include "text/Source.h"

namespace {

struct Options : ControlOptions {
  std::string name;
};

constexpr char kExamples[] =
    "Examples:\n"
    "  thermalctl scenario game\n"
    "  thermalctl scenario Default --timeout 30\n"
    "  thermalctl scenario game --dir /tmp/board/data/vendor/thermal\n"
    "\n"
    "It takes two to three seconds. While it waits it asks the daemon which scenario is in\n"
    "force; the daemon's log shows that as \"No scen file\".\n"
    "\n"
    "Exit status: 0 the scenario is in force, 1 the daemon has refused it or another writer has\n"
    "asked for another one meanwhile, 2 no answer, or the file could not be written.";

ScenarioAnswer ask(const Options& options, ControlFile& file) {
  ProgressLine progress(STDERR_FILENO);
  const DirectoryLock lock(options.directory, options.timeoutTime(), progress);
  return askForScenario(file, options.name, options.timeoutTime(), progress);
}

std::string noAnswer(const Options& options) {
  std::ostringstream text;
  text << "no answer within " << options.timeout << " s: is the daemon running, is "
       << options.directory << " its directory, and may it write there?";
  return text.str();
}

ExitStatus run(const Options& options) {
  if (!isOneWord(options.name))
    return complain(kCouldNotRun, "no scenario can be called '" + options.name + "'");
  ControlFile file(ControlDirectory(options.directory).scenarioFile);
  const ScenarioAnswer answer = ask(options, file);
  switch (answer.outcome) {
  case ScenarioOutcome::InForce:
    std::cout << visible(options.name) << " is in force\n";
    return kFine;
  case ScenarioOutcome::Refused:
    return complain(kProblems, "the configuration has no scenario '" + options.name + "'; " +
                                   answer.word + " stays in force");
  case ScenarioOutcome::Overtaken:
    return complain(kProblems, "another writer has asked for " + answer.word + " meanwhile");
  case ScenarioOutcome::NotWritten:
    return complain(kCouldNotRun, "cannot write " + file.path + ": " + answer.error.message());
  case ScenarioOutcome::NoAnswer:
    break;
  }
  return complain(kCouldNotRun, noAnswer(options));
}

} // namespace

void addScenarioCommand(CLI::App& app, int& status) {
  CLI::App* command =
      app.add_subcommand("scenario", "Put a scenario in force, and wait until it is");
  const auto options = std::make_shared<Options>();
  command->add_option("NAME", options->name, "The scenario")->type_name("")->required();
  addDirectoryOption(*command, *options);
  addTimeoutOption(*command, *options, "How long to wait");
  command->footer(kExamples);
  command->callback([options, &status] { status = run(*options); });
}
