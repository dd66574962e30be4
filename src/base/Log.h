#pragma once

#include <android/log.h>

#include <atomic>

#include "base/Messages.h"

inline constexpr char kLogTag[] = "echo-service";

// The process-wide log switch: on at start, turned off once, by `main`, for "nolog".
inline std::atomic<bool> logEnabled{true};

#define LOG_FORMAT_OF(first, ...) first

// Writes one message, printf style, to the Android log. A macro, so that with the log switched off
// the arguments are not even evaluated, while the compiler still checks them against the format,
// and that the format is one that readers of the log know.
#define LOG_LINE(...)                                                                              \
  do {                                                                                             \
    static_assert(message::isOne(LOG_FORMAT_OF(__VA_ARGS__, )), "not in message::kAll");           \
    if (logEnabled.load(std::memory_order_relaxed))                                                \
      __android_log_print(ANDROID_LOG_VERBOSE, kLogTag, __VA_ARGS__);                              \
  } while (false)
