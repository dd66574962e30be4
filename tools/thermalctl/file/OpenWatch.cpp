#include "file/OpenWatch.h"

#include <sys/inotify.h>

#include <array>
#include <cerrno>

OpenWatch::OpenWatch(const std::string& path) : events(::inotify_init1(IN_NONBLOCK | IN_CLOEXEC)) {
  if (!events || ::inotify_add_watch(events.get(), path.c_str(), IN_OPEN) < 0)
    failure = {errno, std::generic_category()};
}

bool OpenWatch::isOpened() {
  alignas(inotify_event) std::array<char, 4096> buffer;
  // A single kind of event is asked for, so that there is nothing to tell apart in it. Should the
  // file go away, one of another kind comes.
  while (!opened) {
    if (::read(events.get(), buffer.data(), buffer.size()) <= 0) break;
    opened = (reinterpret_cast<const inotify_event*>(buffer.data())->mask & IN_OPEN) != 0;
  }
  return opened;
}
