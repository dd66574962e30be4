#include "daemon/MemoryFile.h"

#include <sys/mman.h>
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
  replace(text);
}

MemoryFile::~MemoryFile() {
  ::close(file);
}

std::string MemoryFile::path() const {
  return "/proc/self/fd/" + std::to_string(file);
}

void MemoryFile::replace(const std::string& text) {
  require(::ftruncate(file, 0) == 0);
  require(::pwrite(file, text.data(), text.size(), 0) == static_cast<ssize_t>(text.size()));
}
