#pragma once

#include <unistd.h>

#include <utility>

// Owns an open file, or none.
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
