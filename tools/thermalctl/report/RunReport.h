#pragma once

#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "file/OutputFiles.h"
#include "file/Spool.h"
#include "report/CsvTrace.h"
#include "report/EventTrace.h"
#include "report/HtmlReport.h"
#include "report/Results.h"
#include "report/Summary.h"
#include "trace/Trace.h"

// The files that are wanted of a report.
struct Outputs {
  bool page = true;
  bool csv = true;
  bool events = true;
  bool results = true;
};

// All that comes of comparing runs: the figures and, in a directory, the results, the two traces
// and the page.
//
// Shape:   `writeTo`, if files are wanted, comes before the first part and `finish` behind the last.
// Errors:  told as "PATH: cannot be written: REASON", the first alone. A directory that cannot be
//          written is found before the runs and not behind them; what fails meanwhile is found by
//          `finish`. Until that has gone well, an earlier report is as it was; whatever ends a run
//          before leaves nothing of it.
// Threads: `take` is called by one at a time; parts that are not in order may be made and filled by
//          as many as there are parts, meanwhile.
class RunReport {
public:
  // Some of the runs, one after the other, with all that is made of them.
  //
  // Shape: good until it is taken; what it writes into must outlive it.
  class Part : public TraceSink {
  public:
    // Tells that sink, too, which must outlive the part.
    void alsoTo(TraceSink& sink) { sinks.push_back(&sink); }

    // Of the run that ended last.
    RunResult& result() { return results.back(); }

    void begin(const TraceDescription& run) override { pass(&TraceSink::begin, run); }
    // Nearly all that is ever told.
    void temperature(int64_t time, size_t sensor, int32_t millidegrees) override {
      figures.temperature(time, sensor, millidegrees);
      for (TraceSink* sink : sinks)
        sink->temperature(time, sensor, millidegrees);
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
    void end(int64_t time, const std::vector<Performance>& performance) override;

  private:
    friend RunReport;

    template <typename... Parameters, typename... Arguments>
    void pass(void (TraceSink::*event)(Parameters...), const Arguments&... arguments) {
      (figures.*event)(arguments...);
      for (TraceSink* sink : sinks)
        (sink->*event)(arguments...);
    }

    Summary figures;
    std::vector<RunResult> results;
    // What the traces are kept in until it is their turn.
    std::unique_ptr<Spool> csvSpool;
    std::unique_ptr<Spool> eventsSpool;
    std::unique_ptr<CsvTrace> csv;
    std::unique_ptr<EventTrace> events;
    std::unique_ptr<HtmlReport> page;
    std::vector<TraceSink*> sinks; // beside the figures
  };

  // Makes the directory, if need be, and begins the files. Returns what stands in the way.
  std::optional<std::string> writeTo(const std::filesystem::path& directory,
                                     const std::string& title, const Provenance& origin,
                                     const Outputs& outputs);

  // For the runs behind the first `before` ones. One that is `inOrder` writes its traces at once
  // into the files: all that are before it have been taken by then.
  std::unique_ptr<Part> part(size_t before, bool inOrder) const;
  // In the order of the runs. Without `sideBySide` the summary does not have them.
  void take(Part& part, bool sideBySide);

  // Ends the files and puts them in their places. Returns what went wrong with them.
  std::optional<std::string> finish();

  // Whether the summary has all runs.
  bool isSideBySide() const { return figures.size() == all.size(); }
  const Summary& summary() const { return figures; }
  const std::vector<RunResult>& results() const { return all; }

private:
  struct Files {
    Files(const std::filesystem::path& directory, const std::string& title,
          const Provenance& origin, const Outputs& which);

    std::filesystem::path folder;
    OutputFiles outputs;
    // Null where it is not wanted.
    std::ostream* csv = nullptr;
    std::ostream* events = nullptr;
    std::ostream* page = nullptr;
    std::ostream* results = nullptr;
    std::ostream* resultsCsv = nullptr;
    HtmlReport html;
  };

  void move(Spool* spool, std::ostream* to);

  Summary figures;
  std::vector<RunResult> all;
  std::unique_ptr<Files> files;
};
