#include "daemon/MemoryFile.h"

#include <sys/mman.h>
#include <sys/resource.h>
#include <unistd.h>

#include <cerrno>
#include <system_error>

namespace {

void require(bool done) {
  if (!done) throw std::system_error(errno, std::generic_category(), "a file in memory");
}

} // namespace

MemoryFile::MemoryFile(const std::string& text) : file(::memfd_create("node", MFD_CLOEXEC)) {
  require(file >= 0);
  overwrite(text);
}

MemoryFile::~MemoryFile() {
  ::close(file);
}

std::string MemoryFile::path() const {
  return "/proc/self/fd/" + std::to_string(file);
}

void MemoryFile::replace(const std::string& text) {
  require(::ftruncate(file, 0) == 0);
  overwrite(text);
}

void MemoryFile::overwrite(const std::string& text) {
  require(::pwrite(file, text.data(), text.size(), 0) == static_cast<ssize_t>(text.size()));
}

void raiseFileLimit() {
  struct rlimit limit = {};
  if (::getrlimit(RLIMIT_NOFILE, &limit) != 0) return;
  limit.rlim_cur = limit.rlim_max;
  ::setrlimit(RLIMIT_NOFILE, &limit);
}
