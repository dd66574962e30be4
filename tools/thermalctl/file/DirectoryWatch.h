#pragma once

#include <string>
#include <system_error>
#include <vector>

#include "file/FileHandle.h"

// Something that was done to a file of a watched directory, by whomever.
struct FileEvent {
  enum Kind {
    kRead,     // opened for reading alone, and closed
    kWritten,  // opened for writing, and closed
    kReplaced, // another file has its name now, or none
  };
  std::string name;
  Kind kind;

  // Whether `path`, whose directory is the one watched, is the file's.
  bool concerns(const std::string& path) const {
    return path.compare(path.rfind('/') + 1, std::string::npos, name) == 0;
  }
};

// Notices what is done to the files of a directory, in the order in which it is done.
//
// Shape:   it is names that are watched: a file that is put in the place of another is noticed, and
//          so is what is done to it later.
// Errors:  a directory that cannot be watched leaves the reason in `error`, and nothing is noticed.
// Threads: one; `take` never blocks.
class DirectoryWatch {
public:
  explicit DirectoryWatch(const std::string& path);

  // Why it notices nothing.
  std::error_code error() const { return failure; }

  // What has been done since the last call.
  std::vector<FileEvent> take();

  // Can be read when `take` has something to give.
  int descriptor() const { return events.get(); }

private:
  FileHandle events;
  std::error_code failure;
};
