#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <iostream>
#include <memory>
#include <sstream>

#include "base/Names.h"
#include "check/Inspection.h"
#include "check/output/PlainText.h"
#include "command/Commands.h"
#include "command/ControlOptions.h"
#include "control/ConfigurationRequest.h"
#include "control/DirectoryLock.h"
#include "control/PatientWaiting.h"
#include "text/Characters.h"

namespace {

struct Options : ControlOptions {
  std::string file;
  std::string environment = kEnvironmentFile;
  bool force = false;

  // Under which the daemon gets it.
  std::string name() const { return std::filesystem::path(file).filename().string(); }
};

constexpr char kExamples[] =
    "Examples:\n"
    "  thermalctl reload night.conf\n"
    "  thermalctl reload boards/phone/talmor-thermal_night.conf --timeout 60\n"
    "  thermalctl reload night.conf --env board.env --dir /tmp/board/data/vendor/thermal\n"
    "\n"
    "The file is checked, copied into DIR/config/ under its own name, and asked for. With an "
    "error\n"
    "in it the daemon would end, so it is refused; --force asks for it all the same.\n"
    "\n"
    "Exit status: 0 the configuration is in force, 1 the check has found errors, the daemon has\n"
    "rejected the file, or another writer has asked for another one meanwhile, 2 no answer, or a\n"
    "file could not be read or written.";

// Of the file itself: the environment is the running daemon's, whatever is in it.
std::vector<Finding> findingsOf(const Inspection& inspection, const std::string& file) {
  std::vector<Finding> findings;
  std::copy_if(inspection.findings.begin(), inspection.findings.end(), std::back_inserter(findings),
               [&file](const Finding& finding) { return finding.file == file; });
  return findings;
}

ConfigurationAnswer request(const Options& options, const ControlDirectory& directory,
                            const std::string& content) {
  PatientWaiting waiting(STDERR_FILENO);
  const DirectoryLock lock(options.directory, options.timeoutTime(), waiting);
  return requestConfiguration(directory, options.name(), content, options.timeoutTime(), waiting);
}

std::string seconds(const Options& options) {
  std::ostringstream text;
  text << options.timeout << " s";
  return text.str();
}

// Whoever has asked for the scenario that was in force would like to know.
ExitStatus tellInForce(const Options& options, const std::string& before,
                       const std::string& after) {
  std::cout << visible(options.name()) << " is in force";
  if (before != after) std::cout << ", scenario " << visible(after);
  std::cout << '\n';
  return kFine;
}

ExitStatus explain(const Options& options, const ConfigurationAnswer& answer) {
  switch (answer.outcome) {
  case ConfigurationOutcome::kRejected:
    return complain(kProblems, "the daemon has rejected " + options.name() +
                                   ": it cannot open it in its own config directory");
  case ConfigurationOutcome::kOvertaken:
    return complain(kProblems, "another writer has asked for " + answer.word + " meanwhile");
  case ConfigurationOutcome::kPending:
    return complain(kCouldNotRun, "an earlier request, for " + answer.word +
                                      ", is still not done after " + seconds(options) +
                                      ": is the daemon running?");
  case ConfigurationOutcome::kNotTaken:
    return complain(kCouldNotRun, "no answer within " + seconds(options) +
                                      ": is the daemon running, and is " + options.directory +
                                      " its directory?");
  case ConfigurationOutcome::kNotFinished:
    return complain(kCouldNotRun,
                    "the daemon has taken " + options.name() + " over, but has not said " +
                        kParsed + " within " + seconds(options) +
                        ": it has ended, or waits for a thread of a long period (--timeout)");
  case ConfigurationOutcome::kFailed:
    return complain(kCouldNotRun, "cannot write " + answer.word + ": " + answer.error.message());
  case ConfigurationOutcome::kInForce:
    break;
  }
  return kFine;
}

ExitStatus reload(const Options& options, const std::string& content, bool endsTheDaemon) {
  const ControlDirectory directory(options.directory);
  const ControlFile scenario(directory.scenarioFile);
  const std::string before = scenario.word().value_or("");
  const ConfigurationAnswer answer = request(options, directory, content);
  if (answer.outcome != ConfigurationOutcome::kInForce) return explain(options, answer);
  // A daemon that starts writes the word of the answer, too.
  if (endsTheDaemon)
    return complain(kCouldNotRun, "the daemon must have ended on " + options.name() +
                                      " and been started again, without it; or " +
                                      options.environment + " is not its environment");
  return tellInForce(options, before, scenario.word().value_or(""));
}

ExitStatus run(const Options& options) {
  if (!isOneWord(options.name()) || options.name() == kParsed)
    return complain(kCouldNotRun, "a file called '" + options.name() +
                                      "' cannot be asked for: the request is one word");
  const Inspection inspection = inspect({options.environment, {options.file}, std::nullopt, {}});
  for (const UnreadFile& unread : inspection.unread)
    complain(kCouldNotRun, describe(unread));
  if (!inspection.unread.empty()) return kCouldNotRun;

  const Source& file = inspection.sources.at(options.file);
  const std::vector<Finding> findings = findingsOf(inspection, options.file);
  // With this file alone, so that it is the one that the last line counts.
  if (!findings.empty())
    printText(std::cout, findings, {{options.file, file}}, colourFor(STDOUT_FILENO));
  if (errorsIn(findings) > 0 && !options.force)
    return complain(kProblems, options.name() + " has errors, so it was not asked for (--force asks"
                                                " for it all the same)");
  // The findings stand above whatever the request has to tell on standard error.
  std::cout << std::flush;
  return reload(options, file.text(), inspection.configurations.front().fatal() != nullptr);
}

void addOptions(CommandLine& line, Options& options) {
  line.option("FILE", options.file, "The configuration").takes("").isRequired();
  addDirectoryOption(line, options);
  line.option("--env", options.environment, "The environment file of the running daemon")
      .takes("FILE")
      .showsDefault();
  line.flag("--force", options.force,
            "Ask for the file in spite of errors; they may end the daemon");
  addTimeoutOption(line, options, "How long to wait for each step");
}

} // namespace

Command reloadCommand() {
  const auto options = std::make_shared<Options>();
  return {"reload", "Check a configuration, put it in force, and wait until it is", kExamples,
          [options](CommandLine& line) { addOptions(line, *options); },
          [options] { return run(*options); }};
}
