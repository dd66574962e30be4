#pragma once

#include <string>
#include <vector>

#include "trace/Trace.h"

// What a sink was told, a line for each call: "250 temperature big 30000".
class TraceLines : public TraceSink {
public:
  void begin(const TraceDescription& description) override {
    run = description;
    lines.push_back("begin " + run.name);
  }
  void temperature(int64_t time, size_t sensor, int32_t millidegrees) override {
    add(time, "temperature " + run.sensors.at(sensor).name + " " + std::to_string(millidegrees));
  }
  void level(int64_t time, size_t device, int32_t level, const std::string& entry) override {
    add(time, "level " + run.devices.at(device).name + " " + std::to_string(level) + " " + entry);
  }
  void algorithm(int64_t time, size_t algorithm, int32_t level) override {
    const AlgorithmTrack& track = run.algorithms.at(algorithm);
    add(time, "algorithm " + track.name + " (" + track.configuration + ", " + track.scenario +
                  ") " + (level == kAsleep ? "asleep" : std::to_string(level)));
  }
  void power(int64_t time, size_t source, int64_t microwatts) override {
    add(time, "power " + run.sources.at(source) + " " + std::to_string(microwatts));
  }
  void scenario(int64_t time, const std::string& name) override { add(time, "scenario " + name); }
  void configuration(int64_t time, const std::string& name) override {
    add(time, "configuration " + name);
  }
  void gap(int64_t from, int64_t to, std::optional<size_t> sensor) override {
    add(to,
        "gap from " + std::to_string(from) + (sensor ? " of " + run.sensors.at(*sensor).name : ""));
  }
  void end(int64_t time, const std::vector<Performance>&) override { add(time, "end"); }

  // Those of which the second word is `kind`.
  std::vector<std::string> ofKind(const std::string& kind) const {
    std::vector<std::string> chosen;
    for (const std::string& line : lines) {
      if (line.find(" " + kind) == line.find(' ')) chosen.push_back(line);
    }
    return chosen;
  }

  TraceDescription run;
  std::vector<std::string> lines;

private:
  void add(int64_t time, const std::string& what) {
    lines.push_back(std::to_string(time) + " " + what);
  }
};
