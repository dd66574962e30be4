#pragma once

#include <chrono>
#include <string>

#include "base/Names.h"
#include "command/CommandLine.h"

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
  line.option("--dir", options.directory, "Where the daemon has its control files")
      .takes("DIR")
      .showsDefault();
}

inline void addTimeoutOption(CommandLine& line, ControlOptions& options,
                             const std::string& description) {
  line.option("--timeout", options.timeout, description)
      .isWithin(0.1, 86400.0)
      .showsAs("SECONDS=10");
}
