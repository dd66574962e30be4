#include "command/CheckFirst.h"

#include <unistd.h>

#include <algorithm>
#include <iostream>

#include "check/Inspection.h"
#include "check/output/PlainText.h"
#include "command/ExitStatus.h"
#include "text/Phrases.h"

namespace {

void countWarnings(size_t warnings, const std::string& environment,
                   const std::vector<std::string>& configurations) {
  if (warnings == 0) return;
  std::string command = "thermalctl check --env " + environment;
  for (const std::string& configuration : configurations)
    command += " --conf " + configuration;
  complain(kFine, counted(warnings, "warning") + ", told by " + command);
}

} // namespace

bool passesCheck(const std::string& environment, const std::vector<std::string>& configurations) {
  Inspection inspection = inspect({environment, configurations, std::nullopt, {}});
  for (const UnreadFile& file : inspection.unread)
    complain(kCouldNotRun, describe(file));
  inspection.problems.print(std::cerr, colourFor(STDERR_FILENO));
  std::vector<Finding>& findings = inspection.findings;
  const size_t all = findings.size();
  findings.erase(
      std::remove_if(findings.begin(), findings.end(),
                     [](const Finding& finding) { return finding.severity != Severity::kError; }),
      findings.end());
  if (!findings.empty()) printText(std::cerr, inspection, colourFor(STDERR_FILENO));
  countWarnings(all - findings.size(), environment, configurations);
  return findings.empty() && inspection.isWhole();
}

SensorUnits unitsOf(const std::string& environment) {
  return settingsOf(environment).units;
}

bool mayRun(const std::string& environment, const std::vector<std::string>& configurations,
            const Problems& problems) {
  if (!configurations.empty() && !passesCheck(environment, configurations)) {
    complain(kCouldNotRun, "nothing was run: the check has found errors");
    return false;
  }
  problems.print(std::cerr, colourFor(STDERR_FILENO));
  return problems.none();
}
