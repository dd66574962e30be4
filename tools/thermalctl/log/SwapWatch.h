#pragma once

#include "base/Names.h"
#include "log/LogLine.h"

// The scenario that the configuration declares, without the marks of one that is retired.
std::string_view declaredScenario(std::string_view scenario);
bool isRetired(std::string_view scenario);

// Tells from which message on a log is about another configuration.
//
// Shape: a swap is two changes. In the first the items in force only get their mark; then the new
//        file is read, and whoever wakes without a mark is of it.
class SwapWatch {
public:
  enum class Event {
    kNone,
    kRestart, // the daemon starts, with the configuration that it is shipped with
    kNew,     // another one comes in force
    kDone,    // and what is left of its predecessor ends
  };
  Event take(const LogLine& line);

  // From kNew to kDone.
  bool underWay() const { return state == State::kTakenOver; }
  // Whether what has the mark belongs to the predecessor of the configuration in force.
  bool marksPredecessor() const { return hasPredecessor; }

private:
  enum class State { kSettled, kBegun, kMarked, kTakenOver };
  State state = State::kSettled;
  bool hasPredecessor = false;
};
