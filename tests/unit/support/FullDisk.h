#pragma once

#include <sys/resource.h>

#include <csignal>

// While one of these lives, no file of this process can grow: every write to one is refused.
class FullDisk {
public:
  FullDisk() : oldHandler(std::signal(SIGXFSZ, SIG_IGN)) {
    ::getrlimit(RLIMIT_FSIZE, &oldLimit);
    const rlimit none = {0, oldLimit.rlim_max};
    ::setrlimit(RLIMIT_FSIZE, &none);
  }
  ~FullDisk() {
    ::setrlimit(RLIMIT_FSIZE, &oldLimit);
    std::signal(SIGXFSZ, oldHandler);
  }
  FullDisk(const FullDisk&) = delete;
  FullDisk& operator=(const FullDisk&) = delete;

private:
  void (*oldHandler)(int);
  rlimit oldLimit = {};
};
