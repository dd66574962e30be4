#pragma once

#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "file/OutputFiles.h"
#include "report/CsvTrace.h"
#include "report/EventTrace.h"
#include "report/HtmlReport.h"
#include "report/Summary.h"
#include "trace/Trace.h"

// All that comes of comparing runs: the figures and, in a directory, the two traces and the page.
//
// Shape:  `writeTo`, if files are wanted, comes before the first run and `finish` behind the last.
// Errors: told as "PATH: cannot be written: REASON", the first alone. A directory that cannot be
//         written is found before the runs and not behind them; what fails meanwhile is found by
//         `finish`. Until that has gone well, an earlier report is as it was; whatever ends a run
//         before leaves nothing of it.
class RunReport : public TraceSink {
public:
  // Makes the directory, if need be, and begins the files. Returns what stands in the way.
  std::optional<std::string> writeTo(const std::filesystem::path& directory,
                                     const std::string& title);
  // Ends the files and puts them in their places. Returns what went wrong with them.
  std::optional<std::string> finish();

  // Tells that sink, too, which must outlive the report.
  void alsoTo(TraceSink& sink) { sinks.push_back(&sink); }

  const Summary& summary() const { return figures; }

  void begin(const TraceDescription& run) override { pass(&TraceSink::begin, run); }
  void temperature(int64_t time, size_t sensor, int32_t millidegrees) override {
    pass(&TraceSink::temperature, time, sensor, millidegrees);
  }
  void level(int64_t time, size_t device, int32_t level, const std::string& entry) override {
    pass(&TraceSink::level, time, device, level, entry);
  }
  void algorithm(int64_t time, size_t algorithm, int32_t level) override {
    pass(&TraceSink::algorithm, time, algorithm, level);
  }
  void power(int64_t time, size_t source, int64_t microwatts) override {
    pass(&TraceSink::power, time, source, microwatts);
  }
  void scenario(int64_t time, const std::string& name) override {
    pass(&TraceSink::scenario, time, name);
  }
  void configuration(int64_t time, const std::string& name) override {
    pass(&TraceSink::configuration, time, name);
  }
  void standstill(int64_t time) override { pass(&TraceSink::standstill, time); }
  void gap(int64_t from, int64_t to, std::optional<size_t> sensor) override {
    pass(&TraceSink::gap, from, to, sensor);
  }
  void end(int64_t time, const std::vector<Performance>& performance) override {
    pass(&TraceSink::end, time, performance);
    if (files) files->html.judged(figures.last().verdicts);
  }

private:
  struct Files {
    Files(const std::filesystem::path& directory, const std::string& title);

    OutputFiles outputs;
    CsvTrace csv;
    EventTrace events;
    std::ostream& page;
    HtmlReport html;
  };

  template <typename... Parameters, typename... Arguments>
  void pass(void (TraceSink::*event)(Parameters...), const Arguments&... arguments) {
    for (TraceSink* sink : sinks)
      (sink->*event)(arguments...);
  }

  Summary figures;
  std::unique_ptr<Files> files;
  std::vector<TraceSink*> sinks{&figures};
};
