#pragma once

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cstdlib>
#include <string>

// A named pipe: a node that keeps every write in order but cannot be rewound.
class Fifo {
public:
  explicit Fifo(const std::string& path) {
    if (::mkfifo(path.c_str(), 0600) != 0) std::abort();
    fd = ::open(path.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
    if (fd < 0) std::abort();
  }
  ~Fifo() { ::close(fd); }
  Fifo(const Fifo&) = delete;
  Fifo& operator=(const Fifo&) = delete;

  // What was written since the last call.
  std::string take() const {
    std::string content;
    std::array<char, 256> chunk;
    ssize_t got = 0;
    while ((got = ::read(fd, chunk.data(), chunk.size())) > 0)
      content.append(chunk.data(), static_cast<size_t>(got));
    return content;
  }

private:
  int fd;
};
