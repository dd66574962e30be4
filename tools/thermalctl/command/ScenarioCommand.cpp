#include <unistd.h>

#include <iostream>
#include <memory>
#include <sstream>

#include "command/Commands.h"
#include "command/ControlOptions.h"
#include "control/DirectoryLock.h"
#include "control/PatientWaiting.h"
#include "control/ScenarioRequest.h"
#include "text/Characters.h"

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
  PatientWaiting waiting(STDERR_FILENO);
  const DirectoryLock lock(options.directory, options.timeoutTime(), waiting);
  return askForScenario(file, options.name, options.timeoutTime(), waiting);
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
  case ScenarioOutcome::kInForce:
    std::cout << visible(options.name) << " is in force\n";
    return kFine;
  case ScenarioOutcome::kRefused:
    return complain(kProblems, "the configuration has no scenario '" + options.name + "'; " +
                                   answer.word + " stays in force");
  case ScenarioOutcome::kOvertaken:
    return complain(kProblems, "another writer has asked for " + answer.word + " meanwhile");
  case ScenarioOutcome::kNotWritten:
    return complain(kCouldNotRun, "cannot write " + file.path + ": " + answer.error.message());
  case ScenarioOutcome::kNoAnswer:
    break;
  }
  return complain(kCouldNotRun, noAnswer(options));
}

void addOptions(CommandLine& line, Options& options) {
  line.option("NAME", options.name, "The scenario").takes("").isRequired();
  addDirectoryOption(line, options);
  addTimeoutOption(line, options, "How long to wait");
}

} // namespace

Command scenarioCommand() {
  const auto options = std::make_shared<Options>();
  return {"scenario", "Put a scenario in force, and wait until it is", kExamples,
          [options](CommandLine& line) { addOptions(line, *options); },
          [options] { return run(*options); }};
}
