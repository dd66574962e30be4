#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "trace/Trace.h"

// A trace as lines of text such as "300 gpu 1".
struct SeenRun {
  // The times at which a sensor was sampled.
  std::vector<int64_t> samples(const std::string& sensor) const {
    return timesIn(temperatures, sensor);
  }
  // The times at which a node was shown.
  std::vector<int64_t> looks(const std::string& node) const { return timesIn(nodes, node); }

  TraceDescription run;
  std::vector<std::string> temperatures; // of sensors
  std::vector<std::string> nodes;        // of nodes of the plant, the same
  std::vector<std::string> levels;
  std::vector<std::string> items;
  std::vector<std::string> powers; // of sources, in microwatts
  std::vector<std::string> controls;
  int64_t stoodStill = -1;
  int64_t ended = -1;
  std::vector<Performance> performance;

private:
  static std::vector<int64_t> timesIn(const std::vector<std::string>& lines,
                                      const std::string& name) {
    std::vector<int64_t> times;
    for (const std::string& each : lines) {
      if (each.find(" " + name + " ") != std::string::npos) times.push_back(std::stoll(each));
    }
    return times;
  }
};

class RecordedTrace : public TraceSink {
public:
  void begin(const TraceDescription& run) override { made.run = run; }
  void temperature(int64_t time, size_t sensor, int32_t millidegrees) override {
    const SensorTrack& track = made.run.sensors[sensor];
    auto& lines = track.kind == SensorTrack::Kind::kPlantNode ? made.nodes : made.temperatures;
    lines.push_back(line(time, track.name, millidegrees));
  }
  void level(int64_t time, size_t device, int32_t level, const std::string& entry) override {
    made.levels.push_back(line(time, made.run.devices[device].name, level) + " (" + entry + ")");
  }
  void algorithm(int64_t time, size_t algorithm, int32_t level) override {
    made.items.push_back(line(time, made.run.algorithms[algorithm].name, level));
  }
  void power(int64_t time, size_t source, int64_t microwatts) override {
    made.powers.push_back(std::to_string(time) + " " + made.run.sources[source] + " " +
                          std::to_string(microwatts));
  }
  void scenario(int64_t time, const std::string& name) override {
    made.controls.push_back(std::to_string(time) + " scenario " + name);
  }
  void configuration(int64_t time, const std::string& name) override {
    made.controls.push_back(std::to_string(time) + " configuration " + name);
  }
  void standstill(int64_t time) override { made.stoodStill = time; }
  void end(int64_t time, const std::vector<Performance>& performance) override {
    made.ended = time;
    made.performance = performance;
  }

  SeenRun made;

private:
  static std::string line(int64_t time, const std::string& name, int32_t value) {
    return std::to_string(time) + " " + name + " " + std::to_string(value);
  }
};
