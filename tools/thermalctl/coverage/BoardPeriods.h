#pragma once

#include <cstdint>
#include <set>

#include "coverage/Coverage.h"

// What a board's periods make of threads, and of waking the processor.
//
// Shape: one thread for all sensors of one period; one for all items of a scenario that have one
//        period and are of one kind, of which the scenario with the most counts.
// Units: periods in milliseconds; `wakeUps` a second while everything is awake, at most: threads
//        that are due at about the same time wake together.
struct BoardPeriods {
  std::set<uint32_t> ofSensors;
  std::set<uint32_t> ofItems;
  size_t itemThreads = 0;
  double wakeUps = 0;
};

BoardPeriods periodsOf(const Coverage& coverage);

// Those of the sensors and those of the items, each once.
std::set<uint32_t> distinct(const BoardPeriods& periods);

// "2 threads for sensors (every 250 and 1000 ms), up to 3 for the items of a scenario, at most 10
// wake-ups a second".
std::string describe(const BoardPeriods& periods);
