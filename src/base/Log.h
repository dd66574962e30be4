#pragma once

#include <android/log.h>

#include <atomic>

// The process-wide log switch: on at start, turned off once, by `main`, for "nolog".
inline std::atomic<bool> logEnabled{true};

// Writes one line, printf style, to the Android log. A macro, so that with the log switched off the
// arguments are not even evaluated, while the compiler still checks them against the format.
#define LOG_LINE(...)                                                                              \
  do {                                                                                             \
    if (logEnabled.load(std::memory_order_relaxed))                                                \
      __android_log_print(ANDROID_LOG_VERBOSE, "echo-service", __VA_ARGS__);                       \
  } while (false)
