#pragma once

#include <filesystem>
#include <optional>
#include <ostream>
#include <system_error>

#include "file/FileHandle.h"
#include "file/OutputFiles.h"

// Opened for both, in that folder: it is gone with its last handle. None where the system gives
// none, with errno.
FileHandle namelessFile(const std::filesystem::path& folder);

// A file without a name, for what will stand in another one that is not yet there so far. It is
// gone with the process, however that ends.
//
// Shape:  made in the folder of the other one, so that both need room on one disk.
// Errors: the first one, by `moveTo`.
class Spool {
public:
  explicit Spool(const std::filesystem::path& folder);

  std::ostream& stream() { return text; }
  // Appends all of it to `out`, which tells its own errors.
  std::error_code moveTo(std::ostream& out);

private:
  FileHandle file;
  std::error_code opening;
  FileBuffer buffer;
  std::ostream text;
};
