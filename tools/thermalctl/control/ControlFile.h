#pragma once

#include <optional>
#include <string>
#include <system_error>

#include "file/FileHandle.h"

// What the daemon takes for a file that is not there.
constexpr char kNoFile[] = "ENOFILE";
// What its request file holds when nothing is asked of it.
constexpr char kParsed[] = "PARSED";

// The daemon's files below one directory.
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
