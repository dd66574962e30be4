#include <iostream>

#include <fmt/format.h>

#include "command/Commands.h"
#include "command/ControlOptions.h"
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

ExitStatus run(const Options& options) {
  if (!isOneWord(options.name))
    return complain(kCouldNotRun, "no scenario can be called '" + options.name + "'");
  ControlFile file(ControlDirectory(options.directory).scenarioFile);
  const Answer answer = askInTurn(options, [&](Waiting& waiting) {
    return askForScenario(file, options.name, options.timeoutTime(), waiting);
  });
  switch (answer.outcome) {
  case Outcome::kInForce:
    std::cout << visible(options.name) << " is in force\n";
    return kFine;
  case Outcome::kRefused:
    return complain(kProblems, "the configuration has no scenario '" + options.name + "'; " +
                                   answer.word + " stays in force");
  case Outcome::kNoAnswer:
    return complain(kCouldNotRun,
                    fmt::format("no answer within {:g} s: is the daemon running, is {} its "
                                "directory, and may it write there?",
                                options.timeout, options.directory));
  default:
    return explainFailure(answer);
  }
}

void addOptions(CommandLine& line, Options& options) {
  line.option("NAME", &options.name, "The scenario").takes("").isRequired();
  addDirectoryOption(line, options);
  addTimeoutOption(line, options, "How long to wait");
}

} // namespace

Command scenarioCommand() {
  return commandOf("scenario", "Put a scenario in force, and wait until it is", kExamples,
                   addOptions, run);
}
