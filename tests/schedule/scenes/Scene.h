#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <vector>

// A board, its configurations, what the outside does to it, and what it must have come to.
struct Scene {
  // Something that happens from outside, so many milliseconds after the daemon's start.
  struct Event {
    int64_t atMs;
    enum Kind { kTemperature, kScenario, kConfiguration, kBlock } kind;
    std::string name;  // of the sensor, the scenario, the configuration file or the device
    int64_t value = 0; // the temperature, or for how many milliseconds the device's node blocks
  };

  std::string name;
  std::string environment;
  // By file name; the one in force at the start is "first.conf".
  std::map<std::string, std::string> configurations;
  std::vector<Event> events;
  // What all this comes to, sooner or later: at least so many changes led from begin
  // to end, and this.
  int changes = 1;
  std::string scenarioAtEnd;
  std::map<std::string, int32_t> levelsAtEnd;
  // Devices that somebody wants at every moment: once above level 0 they never fall back to it.
  std::vector<std::string> heldThroughout;
  // Whether a change may wait for ever for a sensor thread without an active sensor.
  bool mayAwaitSleepingSensors = false;
};

const std::vector<Scene>& allScenes();
