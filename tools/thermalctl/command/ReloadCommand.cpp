#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <iostream>

#include <fmt/format.h>

#include "base/Names.h"
#include "check/Inspection.h"
#include "check/output/PlainText.h"
#include "command/Commands.h"
#include "command/ControlOptions.h"
#include "control/ConfigurationRequest.h"
#include "text/Characters.h"

namespace {

struct ReloadOptions : ControlOptions {
  std::string file;
  std::string environment = kEnvironmentFile;
  bool force = false;

  // Under which the daemon gets it.
  std::string name() const { return std::filesystem::path(file).filename().string(); }
};

constexpr char kReloadExamples[] =
    "Examples:\n"
    "  thermalctl reload night.conf\n"
    "  thermalctl reload boards/phone/talmor-thermal_night.conf --timeout 60\n"
    "  thermalctl reload night.conf --env board.env --dir /tmp/board/data/vendor/thermal\n"
    "\n"
    "The file is checked, copied into DIR/config/ under its own name, and asked for. One that "
    "ends\n"
    "the daemon, or leaves no item in force, is refused; --force asks for it all the same.\n"
    "\n"
    "Exit status: 0 the configuration is in force, 1 the file would end the daemon or leave it\n"
    "idle, the daemon has rejected it, or another writer has asked for another one meanwhile, 2 "
    "no\n"
    "answer, or a file could not be read or written.";

// Of the file itself: the environment is the running daemon's, whatever is in it, but for what ends
// the daemon over this file.
std::vector<Finding> findingsOf(const Inspection& inspection, const std::string& file) {
  std::vector<Finding> findings;
  std::copy_if(inspection.findings.begin(), inspection.findings.end(), std::back_inserter(findings),
               [&file](const Finding& finding) {
                 return finding.file == file || finding.end != End::kNone;
               });
  return findings;
}

// Those that the findings are in, so that the last line counts them alone.
Sources sourcesOf(const std::vector<Finding>& findings, const Inspection& inspection) {
  Sources sources;
  for (const Finding& finding : findings)
    sources.emplace(finding.file, inspection.sources.at(finding.file));
  return sources;
}

// Whoever has asked for the scenario that was in force would like to know.
ExitStatus tellInForce(const ReloadOptions& options, const std::string& before,
                       const std::string& after) {
  std::cout << visible(options.name()) << " is in force";
  if (before != after) std::cout << ", scenario " << visible(after);
  std::cout << '\n';
  return kFine;
}

ExitStatus explain(const ReloadOptions& options, const Answer& answer) {
  switch (answer.outcome) {
  case Outcome::kRefused:
    return complain(kProblems, "the daemon has rejected " + options.name() +
                                   ": it cannot open it in its own config directory");
  case Outcome::kPending:
    return complain(kCouldNotRun,
                    fmt::format("an earlier request, for {}, is still not done after {:g} s: is "
                                "the daemon running?",
                                answer.word, options.timeout));
  case Outcome::kNoAnswer:
    return complain(kCouldNotRun,
                    fmt::format("no answer within {:g} s: is the daemon running, and is {} its "
                                "directory?",
                                options.timeout, options.directory));
  case Outcome::kNotFinished:
    return complain(kCouldNotRun,
                    fmt::format("the daemon has taken {} over, but has not said {} within {:g} s: "
                                "it has ended, or waits for a thread of a long period (--timeout)",
                                options.name(), kParsed, options.timeout));
  default:
    return explainFailure(answer);
  }
}

std::string scenarioIn(const ReloadOptions& options) {
  return ControlFile(ControlDirectory(options.directory).scenarioFile).word().value_or("");
}

// What the daemon would do with the file that nobody can want; an empty text if it would not.
std::string harmOf(const Configuration& configuration, const std::string& scenario) {
  if (configuration.fatal()) return "ends the daemon";
  const std::string after =
      configuration.scenarios.count(scenario) > 0 ? scenario : kDefaultScenario;
  const bool inForce =
      std::any_of(configuration.items.begin(), configuration.items.end(),
                  [&after](const Item& item) { return item.created && item.scenario == after; });
  return inForce ? "" : "leaves no item in force";
}

ExitStatus reload(const ReloadOptions& options, const std::string& content, bool endsTheDaemon) {
  const ControlDirectory directory(options.directory);
  const std::string before = scenarioIn(options);
  const Answer answer = askInTurn(options, [&](Waiting& waiting) {
    return requestConfiguration(directory, options.name(), content, options.timeoutTime(), waiting);
  });
  const bool isRestarted = answer.outcome == Outcome::kRestarted;
  if (answer.outcome != Outcome::kInForce && !isRestarted) return explain(options, answer);
  // A daemon that starts writes the word of the answer, too.
  if (endsTheDaemon || isRestarted)
    return complain(kCouldNotRun, "the daemon must have ended on " + options.name() +
                                      " and been started again, without it; or " +
                                      options.environment + " is not its environment");
  return tellInForce(options, before, scenarioIn(options));
}

ExitStatus runReload(const ReloadOptions& options) {
  if (!isOneWord(options.name()) || options.name() == kParsed)
    return complain(kCouldNotRun, "a file called '" + options.name() +
                                      "' cannot be asked for: the request is one word");
  const Inspection inspection = inspect({options.environment, {options.file}, std::nullopt, {}});
  for (const UnreadFile& unread : inspection.unread)
    complain(kCouldNotRun, describe(unread));
  if (!inspection.unread.empty()) return kCouldNotRun;
  inspection.problems.print(std::cerr, colourFor(STDERR_FILENO));

  const std::vector<Finding> findings = findingsOf(inspection, options.file);
  if (!findings.empty())
    printText(std::cout, findings, sourcesOf(findings, inspection), colourFor(STDOUT_FILENO));
  // The findings stand above whatever the request has to tell on standard error.
  std::cout << std::flush;
  const Configuration& configuration = inspection.configurations.front();
  const std::string harm = harmOf(configuration, scenarioIn(options));
  if (!harm.empty() && !options.force)
    return complain(kProblems, options.name() + " " + harm +
                                   ", so it was not asked for (--force asks for it all the same)");
  return reload(options, inspection.sources.at(options.file).text(),
                configuration.fatal() != nullptr);
}

void addReloadOptions(CommandLine& line, ReloadOptions& options) {
  line.option("FILE", &options.file, "The configuration").takes("").isRequired();
  addDirectoryOption(line, options);
  line.option("--env", &options.environment, "The environment file of the running daemon")
      .takes("FILE")
      .showsDefault();
  line.flag("--force", &options.force, "Ask for the file even if it ends the daemon");
  addTimeoutOption(line, options, "How long to wait for each step");
}

} // namespace

Command reloadCommand() {
  return commandOf("reload", "Check a configuration, put it in force, and wait until it is",
                   kReloadExamples, addReloadOptions, runReload);
}
