#include <unistd.h>

#include <algorithm>
#include <iostream>
#include <optional>
#include <string>
#include <vector>

#include "check/Inspection.h"
#include "check/output/PlainText.h"
#include "command/Commands.h"
#include "integrate/Folder.h"
#include "text/Characters.h"
#include "text/Phrases.h"

namespace {

struct IntegrateOptions {
  std::string environment;
  std::optional<std::string> out;
  std::optional<std::string> verified;
};

constexpr char kIntegrateExamples[] =
    "Examples:\n"
    "  thermalctl integrate --env boards/phone/talmor-thermal.env --out android/phone\n"
    "  thermalctl integrate --env boards/phone/talmor-thermal.env --verify android/phone\n"
    "\n"
    "Writes what an Android tree needs for a board: the labels of its nodes, their owners and "
    "modes\n"
    "at boot, their reset to level 0 at boot and after the daemon's end, and the Blueprint file\n"
    "that installs it all. --verify tells what is missing, extra or different in such a folder "
    "that\n"
    "was edited by hand.\n"
    "\n"
    "Exit status: 0 written, or nothing differs; 1 the environment file has errors, and nothing "
    "was\n"
    "written, or something differs; 2 a file could not be read or written.";

ExitStatus complainOf(const char* what, const FileTrouble& trouble) {
  return complain(kCouldNotRun, std::string("cannot ") + what + " " + visible(trouble.path) + ": " +
                                    trouble.reason.message());
}

ExitStatus write(const std::string& folder, const Integration& integration) {
  const WrittenFolder result = writeFolder(folder, integration);
  for (const std::string& path : result.written)
    std::cout << visible(path) << '\n';
  for (const std::string& path : result.removed)
    std::cout << visible(path) << ": removed, for no device needs it any more\n";
  std::cout << std::flush;
  if (result.trouble) return complainOf("write", *result.trouble);
  if (result.configurationMissing)
    complain(kFine, "the Blueprint file installs " + visible(*result.configurationMissing) +
                        ": put the factory's configuration there");
  return kFine;
}

ExitStatus verify(const std::string& folder, const Integration& integration) {
  const ComparedFolder result = compareFolder(folder, integration);
  if (result.trouble) return complainOf("read", *result.trouble);
  for (const std::string& path : result.missing)
    std::cout << visible(path) << ": error: the file is missing [missing]\n"
              << "      hint: thermalctl integrate --env " << visible(integration.environmentFile)
              << " --out " << visible(folder) << " makes it\n";
  for (const std::string& path : result.extra)
    std::cout << visible(path) << ": error: no device of " << visible(integration.environmentFile)
              << " needs this file [extra]\n      hint: remove it\n";
  const size_t files = result.missing.size() + result.extra.size();
  if (files > 0) std::cout << counted(files, "file") << " missing or extra\n";
  if (files == 0 || !result.findings.empty())
    printText(std::cout, result.findings, result.sources, colourFor(STDOUT_FILENO));
  return result.isSame() ? kFine : kProblems;
}

// The errors of the file itself, and whatever there is to say about its nodes.
std::vector<Finding> findingsOf(const Inspection& inspection, const BoardNodes& board) {
  std::vector<Finding> findings;
  std::copy_if(inspection.findings.begin(), inspection.findings.end(), std::back_inserter(findings),
               [](const Finding& finding) { return finding.severity == Severity::kError; });
  findings.insert(findings.end(), board.findings.begin(), board.findings.end());
  std::stable_sort(findings.begin(), findings.end(),
                   [](const Finding& a, const Finding& b) { return a.at.line < b.at.line; });
  return findings;
}

ExitStatus runIntegrate(const IntegrateOptions& options) {
  if (options.out.has_value() == options.verified.has_value())
    throw UsageError(options.out
                         ? "--out and --verify exclude each other; write one of them"
                         : "--out or --verify is required; write --out DIR or --verify DIR");
  InspectionOrder order;
  order.environment = options.environment;
  const Inspection inspection = inspect(order);
  for (const UnreadFile& unread : inspection.unread)
    complain(kCouldNotRun, describe(unread));
  if (!inspection.unread.empty()) return kCouldNotRun;

  BoardNodes board = nodesOf(inspection.environment);
  const std::vector<Finding> findings = findingsOf(inspection, board);
  if (!findings.empty())
    printText(std::cout, findings, inspection.sources, colourFor(STDOUT_FILENO));
  std::cout << std::flush;
  if (errorsIn(findings) > 0)
    return complain(kProblems, visible(options.environment) + " has errors, so nothing was " +
                                   (options.out ? "written" : "compared"));
  if (board.nodes.empty())
    return complain(kProblems, visible(options.environment) +
                                   " has no sensor and no device with a node: there is nothing to "
                                   "integrate");
  const Integration integration = {options.environment,
                                   inspection.sources.at(options.environment).text(),
                                   std::move(board.nodes)};
  return options.out ? write(*options.out, integration) : verify(*options.verified, integration);
}

void addIntegrateOptions(CommandLine& line, IntegrateOptions& options) {
  line.option("--env", &options.environment, "The environment file of the board")
      .takes("FILE")
      .isRequired();
  line.option("--out", &options.out, "Folder for the files; those that are there are replaced")
      .takes("DIR");
  line.option("--verify", &options.verified, "Folder of such files, to be compared").takes("DIR");
}

} // namespace

Command integrateCommand() {
  return commandOf("integrate",
                   "Write what an Android tree needs to take a board up, or compare it",
                   kIntegrateExamples, addIntegrateOptions, runIntegrate);
}
