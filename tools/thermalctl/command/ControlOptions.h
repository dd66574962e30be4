#pragma once

#include <unistd.h>

#include <chrono>
#include <string>

#include "base/Names.h"
#include "command/CommandLine.h"
#include "control/Answer.h"
#include "control/DirectoryLock.h"
#include "control/PatientWaiting.h"

// The options that several commands beside a running daemon share.
//
// Units: `timeout` in seconds, as the user types them; held to 0.1 to 86400 where the option is
//        there.
struct ControlOptions {
  std::string directory = kDataDirectory;
  double timeout = 10; // seconds

  std::chrono::milliseconds timeoutTime() const {
    return std::chrono::milliseconds(static_cast<long long>(timeout * 1000));
  }
};

inline void addDirectoryOption(CommandLine& line, ControlOptions& options) {
  line.option("--dir", &options.directory, "Where the daemon has its control files")
      .takes("DIR")
      .showsDefault();
}

inline void addTimeoutOption(CommandLine& line, ControlOptions& options,
                             const std::string& description) {
  line.option("--timeout", &options.timeout, description)
      .takes("SECONDS")
      .isWithin(0.1, 86400.0)
      .showsAs("SECONDS=10");
}

// The answer to a request that no other thermalctl makes at the same time.
template <typename Request> Answer askInTurn(const ControlOptions& options, Request request) {
  PatientWaiting waiting(STDERR_FILENO);
  const DirectoryLock lock(options.directory, options.timeoutTime(), waiting);
  return request(waiting);
}

// What ends a request for a scenario and one for a configuration alike.
inline ExitStatus explainFailure(const Answer& answer) {
  if (answer.outcome == Outcome::kOvertaken)
    return complain(kProblems, "another writer has asked for " + answer.word + " meanwhile");
  if (answer.outcome == Outcome::kSwallowed)
    return complain(kProblems, "another writer has asked in the moment of the daemon's answer, "
                               "which lies over its word: it has to ask again");
  return complain(kCouldNotRun, "cannot write " + answer.word + ": " + answer.error.message());
}
