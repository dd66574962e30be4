#pragma once

#include <cstdint>
#include <optional>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "trace/Limit.h"
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
  // Of its longest run, in milliseconds.
  virtual int64_t duration() const = 0;
  // The names that a limit may have: of sensors, and with "node:" in front of nodes of a plant.
  virtual std::set<std::string> names() const = 0;

  // The limits that all of its runs are held to. One of a sensor is also one of the node that bears
  // its name.
  void setLimits(std::vector<Limit> limits_) { limits = std::move(limits_); }

protected:
  void setLimits(TraceDescription& run) const;
  static void addNames(const TraceDescription& run, std::set<std::string>& names);

private:
  std::vector<Limit> limits;
};
