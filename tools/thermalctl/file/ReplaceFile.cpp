#include "file/ReplaceFile.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>

namespace {

// For a file that replaces none. The one that mkostemp makes is its owner's alone, and the daemon
// may run as another user.
constexpr mode_t kNewMode = 0644;
constexpr mode_t kModeBits = 07777;

std::error_code outcome(int result) {
  return result == 0 ? std::error_code() : std::error_code(errno, std::generic_category());
}

std::error_code writeToDisk(int fd, const std::string& content) {
  if (const auto error = writeAll(fd, content)) return error;
  // Without this a power cut may leave the new name with nothing in it.
  return outcome(::fsync(fd));
}

std::error_code takeOverRights(int fd, const std::string& path) {
  struct stat old = {};
  if (::stat(path.c_str(), &old) != 0) return outcome(::fchmod(fd, kNewMode));
  // Only root gives a file away; to a group of one's own anyone does.
  const bool sameGroup = ::fchown(fd, old.st_uid, old.st_gid) == 0 ||
                         ::fchown(fd, static_cast<uid_t>(-1), old.st_gid) == 0;
  static_cast<void>(sameGroup);
  // Last: a change of the owner takes bits of the mode away.
  return outcome(::fchmod(fd, old.st_mode & kModeBits));
}

// In the same directory, because a rename does not cross file systems.
std::string besides(const std::string& path) {
  const size_t base = path.rfind('/') + 1; // 0 for a path without a directory
  return path.substr(0, base) + "." + path.substr(base) + ".XXXXXX";
}

} // namespace

Replacement replaceFile(const std::string& path, const std::string& content) {
  std::string name = besides(path);
  FileHandle file(::mkostemp(name.data(), O_CLOEXEC));
  if (!file) return {FileHandle(), outcome(-1)};
  std::error_code error = writeToDisk(file.get(), content);
  if (!error) error = takeOverRights(file.get(), path);
  if (!error) error = outcome(::rename(name.c_str(), path.c_str()));
  if (!error) return {std::move(file), error};
  ::unlink(name.c_str());
  return {FileHandle(), error};
}
