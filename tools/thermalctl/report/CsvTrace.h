#pragma once

#include <string>
#include <vector>

#include "report/Writer.h"
#include "trace/Trace.h"

// Writes a trace.csv (see csv::kHeader).
//
// Shape:  the columns' names once, then any number of runs one after the other.
// Errors: left in the stream, which must outlive this. What is written reaches it at the end of
//         each run, and in between in large pieces.
class CsvTrace : public TraceSink {
public:
  explicit CsvTrace(std::ostream& out);

  void begin(const TraceDescription& run) override;
  void temperature(int64_t time, size_t sensor, int32_t millidegrees) override;
  void level(int64_t time, size_t device, int32_t level, const std::string& entry) override;
  void algorithm(int64_t time, size_t algorithm, int32_t level) override;
  void scenario(int64_t time, const std::string& name) override;
  void configuration(int64_t time, const std::string& name) override;
  void end(int64_t time, const std::vector<Performance>& performance) override;

private:
  Writer& line(int64_t time);

  Writer writer;
  std::string run;
  // What stands between the time and the value, made once: ",event,name,".
  std::vector<std::string> sensors;
  std::vector<std::string> devices;
  std::vector<std::string> algorithms;
  std::vector<std::string> scenarios; // of the algorithms
};
