#pragma once

#include <optional>
#include <string>
#include <vector>

#include "trace/Trace.h"

// A record of one or more runs that has been gone through once, and can be played.
//
// Errors: `problem` tells why there is nothing to play, in words that fit behind the record's name;
//         it is to be asked first. `remarks` tells what else there is to know, a line for each.
class Recording {
public:
  Recording() = default;
  virtual ~Recording() = default;
  Recording(const Recording&) = delete;
  Recording& operator=(const Recording&) = delete;

  virtual std::optional<std::string> problem() const = 0;
  virtual std::vector<std::string> remarks() const = 0;
  virtual void play(TraceSink& sink) = 0;
};
