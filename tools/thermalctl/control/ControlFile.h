#pragma once

#include <optional>
#include <string>
#include <system_error>

#include "base/Names.h"
#include "file/FileHandle.h"

// The daemon's files below one directory.
//
// Shape:  paths, put together and not looked at; `configurations` ends with a slash.
// Source: the names are fixed in the daemon, the directory is the user's "--dir".
struct ControlDirectory {
  explicit ControlDirectory(const std::string& directory);

  std::string scenarioFile;
  std::string requestFile;
  // With a slash at its end.
  std::string configurations;
};

// Whether the daemon would read all of `text` as one word, and not as a missing file.
bool isOneWord(const std::string& text);

// A file of one word in which this side asks and the daemon answers.
//
// Errors:  `word` is nothing where the file cannot be opened; `ask` gives the system's reason and
//          has then changed nothing.
// Threads: the daemon is another process. It looks once a second, and writes its answer into the
//          file that it finds, which is empty for a moment. So this side puts a whole file in its
//          place, and can tell by that who wrote the word there: the daemon, or another asker.
class ControlFile {
public:
  explicit ControlFile(std::string path_) : path(std::move(path_)) {}

  // The first word, as the daemon reads it: empty while it is writing its answer, nothing when the
  // file cannot be opened.
  std::optional<std::string> word() const;

  // Puts a file with this word in the place of the one there.
  std::error_code ask(const std::string& word);

  // Whether another writer has put its own file in the place of what `ask` made. The daemon writes
  // into the file that it finds.
  bool isReplaced() const;

  const std::string path;

private:
  FileHandle asked;
};
