#pragma once

#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <string_view>
#include <system_error>
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

// What a file's mode says of rights.
constexpr mode_t kModeBits = 07777;

inline std::error_code lastError() {
  return {errno, std::generic_category()};
}

// What a call of the system says that is negative on failure.
inline std::error_code outcome(int result) {
  return result < 0 ? lastError() : std::error_code();
}

// Writes all of it, in as many parts as the system takes.
inline std::error_code writeAll(int fd, std::string_view content) {
  while (!content.empty()) {
    const ssize_t written = ::write(fd, content.data(), content.size());
    if (written < 0 && errno != EINTR) return lastError();
    if (written > 0) content.remove_prefix(static_cast<size_t>(written));
  }
  return {};
}
