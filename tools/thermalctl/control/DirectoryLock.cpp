#include "control/DirectoryLock.h"

#include <fcntl.h>
#include <sys/file.h>

#include <stdexcept>

DirectoryLock::DirectoryLock(const std::string& path, std::chrono::milliseconds timeout,
                             Waiting& waiting)
    : directory(::open(path.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC)) {
  if (!directory) return;
  waiting.stage("waiting for another thermalctl");
  // On the directory itself, so that nothing is left behind in it, and looked at again and again: a
  // lock that is waited for in the system knows no limit.
  const auto isTaken = [this] { return ::flock(directory.get(), LOCK_EX | LOCK_NB) == 0; };
  if (!waitUntil(waiting, waiting.now() + timeout, isTaken))
    throw std::runtime_error("another thermalctl has not finished its work in " + path);
}
