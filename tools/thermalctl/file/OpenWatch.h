#pragma once

#include <string>
#include <system_error>

#include "file/FileHandle.h"

// Notices when a file is opened, by whomever.
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
