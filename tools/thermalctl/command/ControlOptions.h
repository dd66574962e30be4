#pragma once

#include <chrono>
#include <string>

#include <CLI/CLI.hpp>

#include "command/Command.h"

// The options that several commands beside a running daemon share.
struct ControlOptions {
  std::string directory = kDaemonDirectory;
  double timeout = 10;

  std::chrono::milliseconds timeoutTime() const {
    return std::chrono::milliseconds(static_cast<long long>(timeout * 1000));
  }
};

inline void addDirectoryOption(CLI::App& command, ControlOptions& options) {
  command.add_option("--dir", options.directory, "Where the daemon has its control files")
      ->type_name("DIR")
      ->capture_default_str();
}

inline void addTimeoutOption(CLI::App& command, ControlOptions& options,
                             const std::string& description) {
  command.add_option("--timeout", options.timeout, description)
      ->check(CLI::Range(0.1, 86400.0))
      ->option_text("SECONDS=10");
}
