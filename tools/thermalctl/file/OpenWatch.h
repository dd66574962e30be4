#pragma once

#include <string>
#include <system_error>

#include "file/FileHandle.h"

// Counts how often a file is opened, by whomever, this process included.
//
// Shape:   it is the file that is watched and not its name: one put in its place later goes
//          unnoticed.
// Errors:  a path that cannot be watched leaves the reason in `error`, and `times` 0 for ever.
// Threads: one; `times` never blocks.
class OpenWatch {
public:
  explicit OpenWatch(const std::string& path);

  // Why it notices nothing.
  std::error_code error() const { return failure; }

  // How often the file has been opened since the watch began.
  int times();

private:
  FileHandle events;
  std::error_code failure;
  int opened = 0;
};
