#pragma once

#include <cstdint>
#include <deque>
#include <optional>
#include <ostream>
#include <string>
#include <vector>

#include "report/Series.h"
#include "trace/Budget.h"
#include "trace/Trace.h"

// The runs laid over each other in one page that needs nothing else: no network, no other file.
//
// Shape:  nothing is written before `write`.
// Memory: bounded, however long the runs are (see Series).
// Errors: left in the stream. Bytes that are not UTF-8 are replaced.
class HtmlReport : public TraceSink {
public:
  explicit HtmlReport(std::string title_) : title(std::move(title_)) {}

  void begin(const TraceDescription& run) override;
  void temperature(int64_t time, size_t sensor, int32_t millidegrees) override;
  void level(int64_t time, size_t device, int32_t level, const std::string& entry) override;
  void algorithm(int64_t time, size_t algorithm, int32_t level) override;
  void scenario(int64_t time, const std::string& name) override;
  void configuration(int64_t time, const std::string& name) override;
  void gap(int64_t from, int64_t to, std::optional<size_t> sensor) override;
  void standstill(int64_t time) override;
  void end(int64_t time, const std::vector<Performance>& performance) override;

  // What came of the budgets of the run that ended last.
  void judged(const std::vector<Verdict>& verdicts) { runs.back().verdicts = verdicts; }

  void write(std::ostream& out) const;

private:
  // The course of a name, as the index of the name in force.
  struct NameSeries {
    void add(int64_t time, const std::string& name);

    std::vector<std::string> names;
    Series indices;
  };
  using Gaps = std::vector<std::pair<int64_t, int64_t>>; // from, to; in milliseconds
  struct Run {
    explicit Run(const TraceDescription& description_)
        : description(description_), temperatures(description_.sensors.size()),
          levels(description_.devices.size()), algorithms(description_.algorithms.size()),
          sensorGaps(description_.sensors.size()) {}

    TraceDescription description;
    std::vector<Series> temperatures; // of each sensor
    std::vector<Series> levels;       // of each device
    std::vector<Series> algorithms;   // of each algorithm
    std::vector<Gaps> sensorGaps;     // of each sensor alone
    Gaps gaps;                        // of everything
    NameSeries scenarios;
    NameSeries configurations;
    std::vector<Performance> performance;
    std::vector<Verdict> verdicts;
    std::optional<int64_t> standstill; // since when, in milliseconds
    int64_t duration = 0;              // milliseconds
  };

  static std::string asJson(const Run& run);

  std::string title;
  std::deque<Run> runs;
};
