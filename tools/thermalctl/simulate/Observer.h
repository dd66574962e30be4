#pragma once

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "daemon/VirtualDaemon.h"
#include "simulate/Inputs.h"
#include "simulate/Plant.h"
#include "simulate/Schedule.h"
#include "trace/Trace.h"

// What moves in a run: a sink is told of it, and the plant of the levels that devices go to.
//
// Shape: a device or an item that moves several times between two looks shows its last move alone.
//        What is given to the constructor must outlive the observer.
// Units: virtual time in milliseconds.
class Observer {
public:
  Observer(const RunInput& input, const VirtualDaemon& daemon, Plant& plant, TraceSink& sink);

  // Who takes part, and what is in force at the start.
  void begin(const std::string& scenario);
  void end(int64_t now);

  // What is in force. Another configuration's items are followed beside those that a swap retires,
  // until these are freed.
  void inForce(int64_t now, const std::string& configuration, const std::string& scenario);
  void retireItems();
  void forgetRetired(int64_t now);

  // The samples that the worker has just taken, and what the nodes have that they are of.
  void temperatures(int64_t now, const SensorWorker& worker);
  // What the plant's nodes have.
  void nodes(int64_t now);
  // What the sources give off once all that happens at that time has happened. Along a ramp that is
  // told as often as the nodes are.
  void powers(int64_t now);
  // The daemon samples nothing any more.
  void standstill(int64_t now);

  void items(int64_t now);
  void itemsAndDevices(int64_t now);

private:
  void showNode(int64_t now, size_t node);

  // An item and its index in TraceDescription::algorithms, with the level last shown.
  struct TrackedItem {
    const Algo* item;
    size_t track;
    int32_t level = TraceSink::kAsleep;
  };

  const RunInput& input;
  const size_t firstNode; // among the sensors of the description
  const VirtualDaemon& daemon;
  Plant& plant;
  TraceSink& sink;
  std::vector<TrackedItem> trackedItems;
  std::vector<std::pair<const Device*, int32_t>> devices; // with the level last shown
  std::string shownConfiguration;
  std::string shownScenario;
  std::vector<int64_t> shownAt;     // when a node was shown last
  std::vector<int64_t> shownPowers; // of the sources, in microwatts
  uint64_t shownChanges = 0;        // of the powers, which are looked at only behind one
  bool rampsAreDue = false;
  size_t retired = 0; // how many of the items are those of a configuration that is being replaced
};
