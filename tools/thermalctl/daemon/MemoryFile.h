#pragma once

#include <string>

// A file without a name on any disk: what the daemon's objects read and write through its path
// touches nothing of the host and is gone with the process.
//
// Shape:  `path` is good in this process alone, and as long as the object lives. Whoever opens it
//         gets a position of its own.
// Errors: std::system_error, when the system gives no file or no room.
class MemoryFile {
public:
  explicit MemoryFile(const std::string& text = "");
  ~MemoryFile();
  MemoryFile(const MemoryFile&) = delete;
  MemoryFile& operator=(const MemoryFile&) = delete;

  std::string path() const;

  // Makes `text` the whole content.
  void replace(const std::string& text);

private:
  int file;
};
