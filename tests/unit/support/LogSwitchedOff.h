#pragma once

#include "base/Log.h"

// The log switch is off while one of these lives.
class LogSwitchedOff {
public:
  LogSwitchedOff() { logEnabled = false; }
  ~LogSwitchedOff() { logEnabled = true; }
  LogSwitchedOff(const LogSwitchedOff&) = delete;
  LogSwitchedOff& operator=(const LogSwitchedOff&) = delete;
};
