#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "report/Writer.h"
#include "trace/Trace.h"

// The runs in the trace event format, for the Perfetto UI: each run a process; temperatures, levels
// and powers as counters, the scenario, the configuration, each algorithm and the gaps as threads
// of slices.
//
// Shape:  one JSON object, whole only after `finish`. Behind other runs it goes on where they end.
// Units:  times in microseconds, as the format has them; counters in degrees Celsius, levels and
//         watts.
// Errors: left in the stream, which must outlive this.
class EventTrace : public TraceSink {
public:
  explicit EventTrace(std::ostream& out, size_t runsBefore = 0);
  // The last line, without which the file is no JSON.
  void finish();

  void begin(const TraceDescription& run) override;
  void temperature(int64_t time, size_t sensor, int32_t millidegrees) override;
  void level(int64_t time, size_t device, int32_t level, const std::string& entry) override;
  void algorithm(int64_t time, size_t algorithm, int32_t level) override;
  void power(int64_t time, size_t source, int64_t microwatts) override;
  void scenario(int64_t time, const std::string& name) override;
  void configuration(int64_t time, const std::string& name) override;
  void gap(int64_t from, int64_t to, std::optional<size_t> sensor) override;
  void standstill(int64_t time) override;
  void end(int64_t time, const std::vector<Performance>& performance) override;

private:
  // The numbers of a run's threads, which are also their order in the view.
  static constexpr int64_t kGaps = 0;
  static constexpr int64_t kConfiguration = 1;
  static constexpr int64_t kScenario = 2;
  static constexpr int64_t kFirstAlgorithm = 3;

  Writer& event(const char* phase);
  void nameProcess(const std::string& name);
  void nameThread(int64_t thread, const std::string& name);
  // Ends the thread's slice, if one is open, and begins another.
  void slice(int64_t time, int64_t thread, const std::string& name);
  void endSlice(int64_t time, int64_t thread);

  Writer writer;
  NumberText times;
  bool first;
  int64_t process;
  std::vector<std::string> names;   // of the sensors
  std::string sampleStart;          // up to its time
  std::vector<std::string> sensors; // a sample from there to its value
  std::vector<std::string> devices; // ready for JSON, like the sources
  std::vector<std::string> sources;
  std::vector<bool> open; // by thread
};
