#pragma once

#include <cstdint>
#include <limits>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "trace/Trace.h"

// Passes on what of each run lies between two times, as a run of its own that begins at the first
// of them.
//
// Shape: what is in force where the window begins is told at its beginning.
// Units: milliseconds since the start of the run.
class Window : public TraceSink {
public:
  // The stretch that is shown, its ends included.
  //
  // Units: milliseconds since the start of the run.
  struct Times {
    int64_t from = 0;
    int64_t to = std::numeric_limits<int64_t>::max();
  };

  // The sink must outlive the window.
  Window(const Times& times_, TraceSink& sink_) : times(times_), sink(sink_) {}

  void begin(const TraceDescription& run) override;
  void temperature(int64_t time, size_t sensor, int32_t millidegrees) override;
  void level(int64_t time, size_t device, int32_t level, const std::string& entry) override;
  void algorithm(int64_t time, size_t algorithm, int32_t level) override;
  void power(int64_t time, size_t source, int64_t microwatts) override;
  void scenario(int64_t time, const std::string& name) override;
  void configuration(int64_t time, const std::string& name) override;
  void standstill(int64_t time) override;
  void gap(int64_t from, int64_t to, std::optional<size_t> sensor) override;
  void end(int64_t time, const std::vector<Performance>& performance) override;

private:
  struct Level {
    int32_t level = 0;
    std::string entry;
  };

  // Whether what happens then is to be passed on.
  bool shows(int64_t time);
  void open();

  const Times times;
  TraceSink& sink;
  bool isOpen = false;
  // What is in force before the window, by its index.
  std::map<size_t, int32_t> temperatures;
  std::map<size_t, Level> levels;
  std::map<size_t, int32_t> algorithms;
  std::map<size_t, int64_t> powers;
  std::optional<std::string> scenarioBefore;
  std::optional<std::string> configurationBefore;
};
