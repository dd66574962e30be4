#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

#include "report/Writer.h"
#include "trace/CsvFormat.h"
#include "trace/Trace.h"

// Writes a trace.csv (see csv::header).
//
// Shape:  the columns' names once, then any number of runs one after the other. Behind other runs
//         it goes on with the lines alone.
// Errors: left in the stream, which must outlive this. What is written reaches it at the end of
//         each run, and in between in large pieces.
class CsvTrace : public TraceSink {
public:
  explicit CsvTrace(std::ostream& out, size_t runsBefore = 0);

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
  void write(const csv::Frame& frame, int64_t time, std::optional<int64_t> value = std::nullopt);

  Writer writer;
  NumberText times;
  TraceDescription run;
  std::vector<csv::Frame> sensors; // whose lines are most of a trace
};
