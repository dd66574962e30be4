#include "status/NodeReading.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <array>
#include <cerrno>
#include <system_error>

#include "file/FileHandle.h"

namespace {

// As much as a kernel node ever holds: one page.
constexpr off_t kMost = 4096;

NodeReading failed() {
  const std::error_code reason(errno, std::generic_category());
  return {"", errno == ENOENT ? "missing" : reason.message(), ""};
}

NodeReading reserved(const char* reason) {
  return {"", "", reason};
}

NodeReading readEnd(const FileHandle& file, off_t size) {
  std::string content;
  std::array<char, kMost> chunk;
  // A report grows without end, and its last lines are the news.
  off_t at = size > kMost ? size - kMost : 0;
  for (;;) {
    const ssize_t got = ::pread(file.get(), chunk.data(), chunk.size(), at);
    if (got < 0 && errno == EINTR) continue;
    if (got < 0) return failed();
    if (got == 0) break;
    content.append(chunk.data(), static_cast<size_t>(got));
    at += got;
    // One that grows while it is read shall not be read for ever.
    if (content.size() >= chunk.size()) break;
  }
  return {content, "", ""};
}

} // namespace

NodeReading readNode(const std::string& path) {
  struct stat status = {};
  if (path.empty()) return {"", "no node_path", ""};
  if (::stat(path.c_str(), &status) != 0) return failed();
  if (S_ISDIR(status.st_mode)) return {"", "a directory", ""};
  if (S_ISFIFO(status.st_mode)) return reserved("a pipe");
  if (!S_ISREG(status.st_mode)) return reserved("not a file");
  if ((status.st_mode & (S_IRUSR | S_IRGRP | S_IROTH)) == 0) return reserved("write-only");
  // It may have become a pipe since: opening one must not wait for a writer.
  const FileHandle file(::open(path.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC));
  return file ? readEnd(file, status.st_size) : failed();
}
