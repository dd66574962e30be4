#include "file/OpenWatch.h"

#include <sys/inotify.h>

#include <array>
#include <cerrno>

namespace {

// Openings that follow one another come as one: what closes the file keeps them apart.
constexpr uint32_t kKinds = IN_OPEN | IN_CLOSE;

} // namespace

OpenWatch::OpenWatch(const std::string& path) : events(::inotify_init1(IN_NONBLOCK | IN_CLOEXEC)) {
  if (!events || ::inotify_add_watch(events.get(), path.c_str(), kKinds) < 0)
    failure = {errno, std::generic_category()};
}

int OpenWatch::times() {
  alignas(inotify_event) std::array<char, 4096> buffer;
  ssize_t got = 0;
  while ((got = ::read(events.get(), buffer.data(), buffer.size())) > 0) {
    // Of a file itself, events have no name, and all of them one size.
    for (size_t at = 0; at < static_cast<size_t>(got); at += sizeof(inotify_event))
      if ((reinterpret_cast<const inotify_event*>(buffer.data() + at)->mask & IN_OPEN) != 0)
        ++opened;
  }
  return opened;
}
