#pragma once

#include <cstdint>
#include <deque>
#include <functional>
#include <optional>
#include <ostream>
#include <string>
#include <vector>

#include "report/Envelope.h"
#include "report/Provenance.h"
#include "report/RunFigures.h"
#include "report/Series.h"
#include "trace/Budget.h"
#include "trace/Trace.h"

// The runs laid over each other in one page that needs nothing else: no network, no other file.
//
// Shape:  nothing is written before `write`.
// Memory: bounded, however long the runs are, and however many: all temperatures share one room.
// Size:   kPageBytes at most, but for what lists of thousands of names take.
// Errors: left in the stream. Bytes that are not UTF-8 are replaced.
class HtmlReport : public TraceSink {
public:
  static constexpr size_t kPageBytes = 4'900'000;

  HtmlReport(std::string title_, Provenance origin_)
      : title(std::move(title_)), origin(std::move(origin_)) {}

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

  // All of the other's runs, behind its own.
  void take(HtmlReport& other);
  // What the run that ended last has done, and what came of its budgets.
  void figured(const RunFigures& figures);

  // What does not fit into the page is thinned for it. Whether a trace.csv beside it has the rest.
  void write(std::ostream& out, bool traced);

private:
  // The course of a name, as the index of the name in force.
  struct NameSeries {
    void add(int64_t time, const std::string& name);

    std::vector<std::string> names;
    Series indices;
  };
  using Gaps = std::vector<std::pair<int64_t, int64_t>>; // from, to; in milliseconds
  struct Run {
    Run(const TraceDescription& description_, size_t samples)
        : description(description_), temperatures(description_.sensors.size(), Envelope(samples)),
          levels(description_.devices.size()), algorithms(description_.algorithms.size()),
          powers(description_.sources.size()), sensorGaps(description_.sensors.size()) {}

    TraceDescription description;
    std::vector<Envelope> temperatures; // of each sensor
    std::vector<Series> levels;         // of each device
    std::vector<Series> algorithms;     // of each algorithm
    std::vector<Series> powers;         // of each source, in milliwatts
    std::vector<Gaps> sensorGaps;       // of each sensor alone
    Gaps gaps;                          // of everything
    NameSeries scenarios;
    NameSeries configurations;
    std::vector<Performance> performance;
    std::vector<Verdict> verdicts;
    std::optional<int64_t> standstill; // since when, in milliseconds
    int64_t duration = 0;              // milliseconds
  };

  // A run as JSON, piece by piece: as text its courses are longer than what is kept of them.
  using Put = std::function<void(const std::string&)>;
  static void putRun(const Run& run, const Put& put);
  template <typename Visit> void forEachCourse(Visit visit);
  // Thins the courses until all runs have room in the page.
  void fit();

  std::string title;
  Provenance origin;
  std::deque<Run> runs;
};
