#include "file/ReplaceFile.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/xattr.h>

#include <array>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <filesystem>

namespace {

// For a file that replaces none. The one that mkostemp makes is its owner's alone, and the daemon
// may run as another user.
constexpr mode_t kNewMode = 0644;

std::error_code writeToDisk(int fd, const std::string& content) {
  if (const auto error = writeAll(fd, content)) return error;
  // Without this a power cut may leave the new name with nothing in it.
  return outcome(::fsync(fd));
}

// By which SELinux knows who may use the file. A new one has its directory's, with which whoever
// may write the old one might be locked out.
constexpr char kLabel[] = "security.selinux";

void takeOverLabel(int fd, const std::string& path) {
  std::array<char, 256> label;
  const ssize_t size = ::getxattr(path.c_str(), kLabel, label.data(), label.size());
  if (size <= 0) return;
  // Where it may not be set, the file is as the policy makes it.
  const bool isSet = ::fsetxattr(fd, kLabel, label.data(), static_cast<size_t>(size), 0) == 0;
  static_cast<void>(isSet);
}

std::error_code takeOverRights(int fd, const std::string& path) {
  struct stat old = {};
  if (::stat(path.c_str(), &old) != 0) return outcome(::fchmod(fd, kNewMode));
  takeOverLabel(fd, path);
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

// A new file beside `path` that holds `content`, under the name that `name` is given.
Replacement makeBeside(const std::string& path, const std::string& content, std::string& name) {
  name = besides(path);
  FileHandle file(::mkostemp(name.data(), O_CLOEXEC));
  if (!file) return {FileHandle(), outcome(-1)};
  std::error_code error = writeToDisk(file.get(), content);
  if (!error) error = takeOverRights(file.get(), path);
  if (!error) return {std::move(file), error};
  ::unlink(name.c_str());
  return {FileHandle(), error};
}

// Whether there was something to change places with, once there is no error.
bool changePlaces(const std::string& name, const std::string& path, std::error_code& error) {
  const auto rename = [&](unsigned how) {
    error = outcome(::renameat2(AT_FDCWD, name.c_str(), AT_FDCWD, path.c_str(), how));
    return !error;
  };
  if (rename(RENAME_EXCHANGE)) return true;
  if (error == std::errc::no_such_file_or_directory) rename(RENAME_NOREPLACE);
  return false;
}

} // namespace

Replacement replaceFile(const std::string& path, const std::string& content) {
  std::string name;
  Replacement replacement = makeBeside(path, content, name);
  if (replacement.error) return replacement;
  const std::error_code error = outcome(::rename(name.c_str(), path.c_str()));
  if (!error) return replacement;
  ::unlink(name.c_str());
  return {FileHandle(), error};
}

Exchange exchangeFile(const std::string& path, const std::string& content) {
  if (std::filesystem::is_directory(path))
    return {FileHandle(), FileHandle(), std::make_error_code(std::errc::is_a_directory)};
  std::string name;
  Replacement replacement = makeBeside(path, content, name);
  if (replacement.error) return {FileHandle(), FileHandle(), replacement.error};
  std::error_code error;
  FileHandle displaced;
  if (changePlaces(name, path, error)) {
    // Should it be a pipe, opening it must not wait for a writer.
    displaced = FileHandle(::open(name.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC));
    ::unlink(name.c_str());
  }
  if (!error) return {std::move(replacement.file), std::move(displaced), error};
  ::unlink(name.c_str());
  return {FileHandle(), FileHandle(), error};
}
