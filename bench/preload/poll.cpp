// Preloaded into the daemon: its sleep between two looks at the control files lasts the nanoseconds
// that BENCH_POLL says, so that thousands of swaps fit into a measurement.

#include <dlfcn.h>
#include <time.h>

#include <chrono>

#include <stdlib.h>

#include "base/Names.h"

extern "C" int nanosleep(const timespec* wanted, timespec* left) {
  using Nanosleep = int (*)(const timespec*, timespec*);
  static const auto realNanosleep = reinterpret_cast<Nanosleep>(dlsym(RTLD_NEXT, "nanosleep"));
  static const char* const poll = getenv("BENCH_POLL");
  const auto time =
      std::chrono::seconds(wanted->tv_sec) + std::chrono::nanoseconds(wanted->tv_nsec);
  if (poll == nullptr || time != kControlPeriod) return realNanosleep(wanted, left);
  const timespec shorter{0, strtol(poll, nullptr, 10)};
  return realNanosleep(&shorter, left);
}
