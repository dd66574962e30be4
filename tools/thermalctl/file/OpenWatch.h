#pragma once

#include <string>
#include <system_error>

#include "file/FileHandle.h"

// Notices when a file is opened, by whomever, this process included.
//
// Shape:   it is the file that is watched and not its name: one put in its place later goes
//          unnoticed.
// Errors:  a path that cannot be watched leaves the reason in `error`, and `isOpened` false for
//          ever.
// Threads: one; `isOpened` never blocks.
class OpenWatch {
public:
  explicit OpenWatch(const std::string& path);

  // Why it notices nothing.
  std::error_code error() const { return failure; }

  // Whether the file has been opened since the watch began.
  bool isOpened();

private:
  FileHandle events;
  std::error_code failure;
  bool opened = false;
};
