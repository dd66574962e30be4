#pragma once

#include <sys/stat.h>

#include <optional>
#include <string>
#include <system_error>

#include "base/Names.h"
#include "control/Waiting.h"
#include "file/FileHandle.h"

// The daemon's files below one directory.
//
// Shape:  paths, put together and not looked at; `configurations` ends with a slash.
// Source: the names are fixed in the daemon, the directory is the user's "--dir".
struct ControlDirectory {
  explicit ControlDirectory(const std::string& directory);

  std::string path;
  std::string scenarioFile;
  std::string requestFile;
  // With a slash at its end.
  std::string configurations;
};

// Whether the daemon would read all of `text` as one word, and not as a missing file.
bool isOneWord(const std::string& text);

// A file of one word in which others ask and the daemon answers, and this side, too.
//
// Shape:   the daemon writes its answer into the file that it finds. Others rename a file of their
//          own over it, or write into it. This side puts a whole file in the place of the one there
//          and keeps an eye on that.
// Errors:  `word` is nothing where the file cannot be opened; `ask` gives the system's reason and
//          has then changed nothing.
// Threads: the other writers are other processes. A file is opened once and then read through its
//          handle: whoever watches the directory does not take this side's looks for the daemon's.
class ControlFile {
public:
  explicit ControlFile(std::string path_) : path(std::move(path_)) {}

  // The first word, as the daemon reads it: empty while it is being written, nothing when the file
  // cannot be opened.
  std::optional<std::string> word();

  // For how long the file that `word` has read last has been as it is.
  std::chrono::nanoseconds age() const;

  // Puts a file with this word in the place of the one there.
  std::error_code ask(const std::string& word);

  // A word that has gone unread because `ask` took its file away: it came between the last `word`
  // and the asking, or its writer had the file open still. The one of the last `ask` alone.
  std::optional<std::string> displacedWord() const;

  const std::string path;

private:
  FileHandle file;
  // Of `file`, when it was read last; of `displaced`, when it still had the name.
  struct stat seen = {};
  FileHandle displaced;
  struct stat displacedWas = {};
};
