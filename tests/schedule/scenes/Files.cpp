#include "scenes/Files.h"

#include <fcntl.h>
#include <unistd.h>

#include <array>
#include <cstdio>
#include <cstdlib>
#include <filesystem>

namespace {

void require(bool well, const char* what) {
  if (well) return;
  std::perror(what);
  std::abort();
}

} // namespace

Files::Files() {
  std::string made = "/dev/shm/schedule-XXXXXX";
  require(::mkdtemp(made.data()) != nullptr, "a directory in memory");
  directory = made;
  std::filesystem::create_directory(path("config"));
}

Files::~Files() {
  for (const auto& [name, file] : open)
    ::close(file);
  std::filesystem::remove_all(directory);
}

void Files::write(const std::string& name, const std::string& text) {
  auto entry = open.find(name);
  if (entry == open.end()) {
    const int file = ::open(path(name).c_str(), O_CREAT | O_RDWR | O_CLOEXEC, 0600);
    require(file >= 0, "a file in memory");
    entry = open.emplace(name, file).first;
  }
  require(::ftruncate(entry->second, 0) == 0 && ::pwrite(entry->second, text.data(), text.size(),
                                                         0) == static_cast<ssize_t>(text.size()),
          "writing a file in memory");
}

std::string Files::read(const std::string& name) const {
  std::array<char, 256> text;
  const ssize_t length = ::pread(open.at(name), text.data(), text.size(), 0);
  return {text.data(), static_cast<size_t>(length < 0 ? 0 : length)};
}
