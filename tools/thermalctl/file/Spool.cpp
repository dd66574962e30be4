#include "file/Spool.h"

#include <fcntl.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstdlib>
#include <string>

#include "file/Litter.h"

FileHandle namelessFile(const std::filesystem::path& path) {
  const std::string folder = path.empty() ? "." : path.string();
  const int fd = ::open(folder.c_str(), O_TMPFILE | O_RDWR | O_CLOEXEC, 0600);
  if (fd >= 0) return FileHandle(fd);
  // Not every disk has files that never had a name.
  const NoSignals both;
  std::string name = folder + "/.spool.XXXXXX";
  const int named = ::mkostemp(name.data(), O_CLOEXEC);
  if (named >= 0) ::unlink(name.c_str());
  return FileHandle(named);
}

Spool::Spool(const std::filesystem::path& folder)
    : file(namelessFile(folder)), opening(file ? std::error_code() : lastError()),
      buffer(file.get()), text(&buffer) {}

std::error_code Spool::moveTo(std::ostream& out) {
  if (opening) return opening;
  if (buffer.error()) return buffer.error();
  std::array<char, 1 << 16> block{};
  for (off_t at = 0;;) {
    const ssize_t length = ::pread(file.get(), block.data(), block.size(), at);
    if (length < 0 && errno == EINTR) continue;
    if (length <= 0) return length < 0 ? lastError() : std::error_code();
    out.write(block.data(), length);
    at += length;
  }
}
