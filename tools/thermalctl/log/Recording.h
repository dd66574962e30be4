#pragma once

#include <cstdint>
#include <optional>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "trace/Budget.h"
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
  // What a budget may be of (see subjectOf): sensors, nodes of a plant, and the changes of devices.
  virtual std::set<std::string> subjects() const = 0;

  // What all of its runs are held to. A limit of a sensor is also one of the node that bears its
  // name.
  void setBudgets(std::vector<Budget> budgets_) { budgets = std::move(budgets_); }

protected:
  void setBudgets(TraceDescription& run) const;
  static void addSubjects(const TraceDescription& run, std::set<std::string>& subjects);

private:
  std::vector<Budget> budgets;
};
