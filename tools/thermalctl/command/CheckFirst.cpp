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

// The sensors whose nodes count in something else than millidegrees, as the board's settings say.
std::vector<std::string> sensorsInOtherUnits(const Inspection& inspection) {
  std::vector<std::string> names;
  for (const auto& [sensor, unit] : inspection.settings.units)
    if (unit != 1) names.push_back(sensor);
  return names;
}

// Tells its errors and takes the rest out. False with an error.
bool passes(Inspection& inspection, const std::string& environment,
            const std::vector<std::string>& configurations) {
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

} // namespace

bool passesCheck(const std::string& environment, const std::vector<std::string>& configurations) {
  Inspection inspection = inspect({environment, configurations, std::nullopt, {}});
  return passes(inspection, environment, configurations);
}

bool mayRun(const std::string& environment, const std::vector<std::string>& configurations,
            const Problems& problems) {
  Inspection inspection = inspect({environment, configurations, std::nullopt, {}});
  if (!configurations.empty() && !passes(inspection, environment, configurations)) {
    complain(kCouldNotRun, "nothing was run: the check has found errors");
    return false;
  }
  const std::vector<std::string> others = sensorsInOtherUnits(inspection);
  if (!others.empty()) {
    complain(kCouldNotRun, "nothing was run: a plant's sensors count in millidegrees, and by the "
                           "board's settings not " +
                               listed(others));
    return false;
  }
  problems.print(std::cerr, colourFor(STDERR_FILENO));
  return problems.none();
}
