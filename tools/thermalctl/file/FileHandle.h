#pragma once

#include <unistd.h>

#include <utility>

// Owns an open file, or none.
//
// Shape:  -1 is none. An assignment swaps: what was held before is closed with the other handle.
// Errors: what closing says is not looked at; whoever writes asks before, by fsync.
class FileHandle {
public:
  explicit FileHandle(int fd_ = -1) : fd(fd_) {}
  ~FileHandle() {
    if (fd >= 0) ::close(fd);
  }
  FileHandle(FileHandle&& other) noexcept : fd(std::exchange(other.fd, -1)) {}
  FileHandle& operator=(FileHandle&& other) noexcept {
    std::swap(fd, other.fd);
    return *this;
  }

  explicit operator bool() const { return fd >= 0; }
  int get() const { return fd; }

private:
  int fd;
};
