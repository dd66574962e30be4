#pragma once

#include <string>
#include <system_error>

#include "file/FileHandle.h"

// The new file, open, or why there is none.
//
// Shape:  `file` is held exactly when `error` is empty.
// Errors: the system's own, of whichever step failed.
struct Replacement {
  FileHandle file;
  std::error_code error;
};

// Puts a file that holds `content` in the place of `path` at once: whoever opens it finds the old
// text or the new one, never a part. It has the mode and, as far as the system allows, the owner of
// the old one, which may be another program's to write; where there was none, all may read it.
// After a failure everything is as it was.
Replacement replaceFile(const std::string& path, const std::string& content);

// Two files that have changed places, or why not.
//
// Shape:  without an error `file` is held; `displaced`, too, unless there was none. It has no name
//         any more.
// Errors: the system's own, of whichever step failed.
struct Exchange {
  FileHandle file;
  FileHandle displaced;
  std::error_code error;
};

// Like `replaceFile`, and gives what was there: whatever came in its place up to the last moment,
// and whoever writes into it still, can be told by it.
Exchange exchangeFile(const std::string& path, const std::string& content);
