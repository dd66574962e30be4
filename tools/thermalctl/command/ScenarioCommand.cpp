#include <iostream>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include <fmt/format.h>

#include "base/TextReader.h"
#include "board/Configuration.h"
#include "command/Commands.h"
#include "command/ControlOptions.h"
#include "control/ScenarioRequest.h"
#include "file/Names.h"
#include "text/Characters.h"
#include "text/Nearest.h"

namespace {

struct ScenarioOptions : ControlOptions {
  std::string name;
};

constexpr char kScenarioExamples[] =
    "Examples:\n"
    "  thermalctl scenario game\n"
    "  thermalctl scenario Default --timeout 30\n"
    "  thermalctl scenario game --dir /tmp/board/data/vendor/thermal\n"
    "\n"
    "It takes two to three seconds: it watches how the daemon comes by its files, and writes\n"
    "nothing but the name. What another writer asks for meanwhile stands.\n"
    "\n"
    "Exit status: 0 the scenario is in force, 1 the daemon has refused it or another writer has\n"
    "asked for another one meanwhile, 2 no answer, or the file could not be written.";

// Of every configuration that the daemon might have: which of them is in force, no file
// tells.
std::vector<std::string> declaredScenarios(const ControlDirectory& directory) {
  std::set<std::string> scenarios;
  for (const std::string& name : namesBeside(directory.configurations)) {
    const std::string path = directory.configurations + name;
    const std::optional<std::string> content = readFile(path);
    if (content) scenarios.merge(readConfiguration(path, *content, Environment()).scenarios);
  }
  return {scenarios.begin(), scenarios.end()};
}

ExitStatus tellRefusal(const ScenarioOptions& options, const std::string& inForce) {
  const std::string hint =
      didYouMean(options.name, declaredScenarios(ControlDirectory(options.directory)));
  return complain(kProblems, "the configuration has no scenario '" + options.name + "'; " +
                                 inForce + " stays in force" + (hint.empty() ? "" : "; " + hint));
}

ExitStatus runScenario(const ScenarioOptions& options) {
  if (!isOneWord(options.name))
    return complain(kCouldNotRun, "no scenario can be called '" + options.name + "'");
  const ControlDirectory directory(options.directory);
  const Answer answer = askInTurn(options, [&](Waiting& waiting) {
    return askForScenario(directory, options.name, options.timeoutTime(), waiting);
  });
  switch (answer.outcome) {
  case Outcome::kInForce:
    std::cout << visible(options.name) << " is in force\n";
    return kFine;
  case Outcome::kRefused:
    return tellRefusal(options, answer.word);
  case Outcome::kNoAnswer:
    return complain(kCouldNotRun,
                    fmt::format("no answer within {:g} s: is the daemon running, is {} its "
                                "directory, and may it write there?",
                                options.timeout, options.directory));
  default:
    return explainFailure(answer);
  }
}

void addScenarioOptions(CommandLine& line, ScenarioOptions& options) {
  line.option("NAME", &options.name, "The scenario").takes("").isRequired();
  addDirectoryOption(line, options);
  addTimeoutOption(line, options, "How long to wait");
}

} // namespace

Command scenarioCommand() {
  return commandOf("scenario", "Put a scenario in force, and wait until it is", kScenarioExamples,
                   addScenarioOptions, runScenario);
}
