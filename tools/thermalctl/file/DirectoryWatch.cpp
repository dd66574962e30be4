#include "file/DirectoryWatch.h"

#include <sys/inotify.h>

#include <array>
#include <cerrno>

namespace {

// A file that is opened for writing is emptied before it has its text, so it is its closing that
// counts.
constexpr uint32_t kReplacing = IN_MOVED_TO | IN_MOVED_FROM | IN_CREATE | IN_DELETE;
constexpr uint32_t kAll = IN_CLOSE_NOWRITE | IN_CLOSE_WRITE | kReplacing;

FileEvent::Kind kindOf(uint32_t mask) {
  if ((mask & IN_CLOSE_NOWRITE) != 0) return FileEvent::kRead;
  return (mask & IN_CLOSE_WRITE) != 0 ? FileEvent::kWritten : FileEvent::kReplaced;
}

} // namespace

DirectoryWatch::DirectoryWatch(const std::string& path)
    : events(::inotify_init1(IN_NONBLOCK | IN_CLOEXEC)) {
  // Two that are alike and follow one another come as one: the openings keep them apart. And a file
  // that has lost its name to another keeps it for its events, unless told not to.
  constexpr uint32_t kHow = IN_OPEN | IN_ONLYDIR | IN_EXCL_UNLINK;
  if (!events || ::inotify_add_watch(events.get(), path.c_str(), kAll | kHow) < 0)
    failure = {errno, std::generic_category()};
}

std::vector<FileEvent> DirectoryWatch::take() {
  std::vector<FileEvent> taken;
  alignas(inotify_event) std::array<char, 4096> buffer;
  for (;;) {
    const ssize_t got = ::read(events.get(), buffer.data(), buffer.size());
    if (got <= 0) return taken;
    for (size_t at = 0; at < static_cast<size_t>(got);) {
      const auto& event = *reinterpret_cast<const inotify_event*>(buffer.data() + at);
      // Without a name it is the directory's own.
      if (event.len > 0 && (event.mask & kAll) != 0)
        taken.push_back({event.name, kindOf(event.mask)});
      at += sizeof event + event.len;
    }
  }
}
