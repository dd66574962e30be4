#pragma once

#include <cstdio>
#include <cstdlib>

// Ends the process, and with it the run, unless the daemon kept its promise.
inline void require(bool kept, const char* promise) {
  if (kept) return;
  std::fprintf(stderr, "broken: %s\n", promise);
  std::abort();
}
