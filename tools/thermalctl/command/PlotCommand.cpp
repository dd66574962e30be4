#include <unistd.h>

#include <algorithm>
#include <deque>
#include <iostream>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "command/BudgetOptions.h"
#include "command/CheckFirst.h"
#include "command/Commands.h"
#include "command/OutputOptions.h"
#include "command/PageOrigin.h"
#include "command/Verdict.h"
#include "file/Names.h"
#include "log/BoardFolder.h"
#include "log/CsvRecording.h"
#include "log/LogRecording.h"
#include "log/Window.h"
#include "report/Comparison.h"
#include "report/RunReport.h"
#include "text/Characters.h"
#include "text/Nearest.h"
#include "text/Numbers.h"
#include "text/Pattern.h"
#include "text/Phrases.h"
#include "toml/Problems.h"
#include "trace/Budget.h"

namespace {

constexpr char kPlotExamples[] =
    "Examples:\n"
    "  thermalctl plot phone.log --board boards/phone --out report\n"
    "  thermalctl plot phone.log simulated/trace.csv --board boards/phone --out both\n"
    "  adb logcat -d | thermalctl plot - --board boards/phone --from 10m --to 20m\n"
    "\n"
    "A log may be in any of logcat's formats, or what the daemon writes on a host; in UTF-8 or\n"
    "UTF-16; compressed with gzip; and in parts, in any order. Of a log and a simulated run the\n"
    "differences are shown, too.\n"
    "\n"
    "Exit status: 0 fine and every limit kept, 1 a limit was passed, 2 could not run: a board "
    "with\n"
    "errors, a file that cannot be read or written, a log without a message of the daemon, or\n"
    "without times where no --board has the sensors' periods, 3 no verdict: a sensor with a limit\n"
    "has no sample.";

struct PlotOptions {
  std::vector<std::string> logs;
  std::string board;
  OutputOptions outputs;
  BudgetOptions budgets;
  std::string from;
  std::string to;
};

bool fail(const std::string& what) {
  complain(kCouldNotRun, what);
  return false;
}

// One of the records that the user gives, open and gone through.
struct Source {
  std::string name; // of all its files
  std::unique_ptr<LineSource> lines;
  std::unique_ptr<Recording> recording;
  Comparison::Origin origin = Comparison::Origin::kLive;
};

// By its first line: a trace may bear any name, and come through a pipe.
bool isTrace(LineFile& file) {
  std::string_view line;
  const bool is = file.next(line) && isCsvTrace(line);
  file.rewind();
  return is;
}

// What the user gives, in the order in which he gives it; parts of one log are one.
class PlotSources {
public:
  PlotSources(const PlotOptions& options_, const BoardFolder* board_)
      : options(options_), board(board_) {}

  // Tells on standard error what there is to know of each. False if one is of no use.
  bool read() {
    if (!openAll()) return false;
    for (std::vector<JoinedLog::Part>& parts : records) {
      if (parts.size() == 1 && isTrace(*parts.front().file))
        addTrace(parts.front());
      else
        addLog(std::move(parts));
    }
    // All of them, even behind one that cannot be used: so one look shows all that is wrong.
    const auto usable = std::count_if(all.begin(), all.end(), tell);
    tellDamage();
    return usable == static_cast<ptrdiff_t>(all.size());
  }

  // What a budget may be of.
  std::set<std::string> subjects() const {
    std::set<std::string> subjects;
    for (const Source& source : all)
      subjects.merge(source.recording->subjects());
    return subjects;
  }

  std::string title() const {
    std::string title;
    for (const Source& source : all)
      title += (title.empty() ? "" : ", ") + source.name;
    return title;
  }

  Provenance origin() const {
    std::vector<std::string> paths = options.logs;
    if (board) {
      const BoardFolder::Files& own = board->files();
      paths.push_back(own.environment);
      paths.insert(paths.end(), own.configurations.begin(), own.configurations.end());
    }
    Provenance origin = originOf(paths, "");
    for (size_t i = 0; i < files.size(); ++i) {
      for (Provenance::Input& input : origin.inputs) {
        // What can be read only once was summed up while it was kept.
        if (input.path == options.logs[i] && input.sha256.empty()) input.sha256 = files[i].sha256();
      }
    }
    return origin;
  }

  std::deque<Source> all;

private:
  bool openAll() {
    bool readable = true;
    std::vector<JoinedLog::Part> logs;
    for (const std::string& path : options.logs) {
      files.emplace_back(path);
      if (!files.back().problem().empty()) readable = fail(path + ": " + files.back().problem());
      (isTrace(files.back()) ? traces : logs).push_back({path, &files.back(), {}});
    }
    if (!readable) return false;
    // Only logs have parts: two traces are two simulations, however they are called.
    records = partsOfLogs(std::move(logs));
    for (const JoinedLog::Part& trace : traces)
      records.push_back({trace});
    // A log in parts stands where the user named the first of them.
    const auto placeOf = [this](const std::vector<JoinedLog::Part>& parts) {
      auto first = options.logs.end();
      for (const JoinedLog::Part& part : parts)
        first = std::min(first, std::find(options.logs.begin(), options.logs.end(), part.name));
      return first;
    };
    std::stable_sort(records.begin(), records.end(),
                     [&](const auto& a, const auto& b) { return placeOf(a) < placeOf(b); });
    return true;
  }

  void addTrace(const JoinedLog::Part& file) {
    const std::string prefix =
        options.logs.size() > 1 ? shortName(file.name, options.logs) + ": " : "";
    Source source{file.name, nullptr, nullptr, Comparison::Origin::kSimulated};
    source.recording = std::make_unique<CsvRecording>(*file.file, prefix, board);
    all.push_back(std::move(source));
  }

  void addLog(std::vector<JoinedLog::Part> parts) {
    std::vector<std::string> names(parts.size());
    std::transform(parts.begin(), parts.end(), names.begin(), [](const JoinedLog::Part& part) {
      return part.name == "-" ? "standard input" : part.name;
    });
    const std::string run =
        parts.front().name == "-" ? names.front() : shortName(parts.back().name, options.logs);
    Source source{enumerated(names), std::make_unique<JoinedLog>(std::move(parts)), nullptr,
                  Comparison::Origin::kLive};
    source.recording = std::make_unique<LogRecording>(*source.lines, run, board);
    all.push_back(std::move(source));
  }

  static bool tell(const Source& source) {
    if (const auto problem = source.recording->problem())
      return fail(source.name + ": " + *problem);
    for (const std::string& remark : source.recording->remarks())
      std::cerr << visible(source.name + ": " + remark) << "\n";
    return true;
  }

  void tellDamage() const {
    for (size_t i = 0; i < files.size(); ++i) {
      if (!files[i].damage().empty())
        std::cerr << visible(options.logs[i] + ": " + files[i].damage()) << "\n";
    }
  }

  const PlotOptions& options;
  const BoardFolder* board;
  std::deque<LineFile> files;
  std::vector<JoinedLog::Part> traces;
  std::vector<std::vector<JoinedLog::Part>> records;
};

// As a duration, or as the report shows a time.
std::optional<int64_t> parseTimeOfRun(const std::string& text) {
  static const Pattern kClock(R"(^([0-9]{1,6}):([0-5][0-9]):([0-5][0-9](\.[0-9]{1,3})?)$)");
  const auto parts = kClock.find(text);
  if (!parts) return parseDuration(text);
  return parseDuration((*parts)[1] + "h" + (*parts)[2] + "m" + (*parts)[3] + "s");
}

// The stretch that is asked for; nothing if it cannot be.
std::optional<Window::Times> timesOf(const PlotOptions& options) {
  Window::Times times;
  bool good = true;
  const auto take = [&good](const char* option, const std::string& text, int64_t& time) {
    if (text.empty()) return;
    const std::optional<int64_t> parsed = parseTimeOfRun(text);
    if (parsed)
      time = *parsed;
    else
      good = fail(std::string(option) + " " + text +
                  ": is no time since the start of the run, such as 90s, 15m, 1h30m or 0:15:00");
  };
  take("--from", options.from, times.from);
  take("--to", options.to, times.to);
  if (good && times.from >= times.to)
    good = fail("--from " + options.from + " --to " + options.to + ": nothing lies between them");
  return good ? std::optional(times) : std::nullopt;
}

// A budget of what is in none of the runs would always be kept.
void setBudgets(const std::vector<AskedBudget>& asked, const PlotSources& sources,
                Problems& problems) {
  const std::set<std::string> subjects = sources.subjects();
  std::vector<Budget> budgets;
  for (const AskedBudget& each : asked) {
    const std::string subject = subjectOf(each.budget);
    budgets.push_back(each.budget);
    if (each.budget.of == Budget::Of::kWork)
      problems.add({each.file, each.span, "no log knows how much work was asked for",
                    "simulate holds runs to it"});
    else if (subjects.count(subject) == 0)
      problems.add({each.file, each.span, "no run has " + quoted(subject),
                    didYouMean(subject, {subjects.begin(), subjects.end()})});
  }
  for (const Source& source : sources.all)
    source.recording->setBudgets(budgets);
}

// Whether each has something of the stretch, and its verdict is about something.
bool reach(const PlotSources& sources, const Window::Times& times) {
  bool all = true;
  for (const Source& source : sources.all) {
    if (source.recording->duration() <= times.from && times.from > 0)
      all = fail(source.name + ": ends at " + clockTime(source.recording->duration() / 1000) +
                 ", before the stretch that is to be shown");
  }
  return all;
}

// Nothing, and the reasons told, if it cannot be relied on.
std::optional<BoardFolder> readBoard(const std::string& folder) {
  std::vector<std::string> problems;
  std::optional<BoardFolder> board;
  auto files = BoardFolder::find(folder, problems);
  if (files) files->units = unitsOf(files->environment);
  if (files && !passesCheck(files->environment, files->configurations))
    problems.push_back("nothing is shown: the check has found errors");
  else if (files)
    board.emplace(*files, problems);
  for (const std::string& problem : problems)
    fail(problem);
  return problems.empty() ? std::move(board) : std::nullopt;
}

void play(const PlotSources& sources, const Window::Times& times, RunReport::Part& part,
          Comparison& comparison) {
  part.alsoTo(comparison);
  Window window(times, part);
  const bool isWhole = times.from == 0 && times.to == Window::Times().to;
  for (const Source& source : sources.all) {
    comparison.nextAre(source.origin);
    source.recording->play(isWhole ? static_cast<TraceSink&>(part) : window);
  }
}

ExitStatus report(const PlotOptions& options, const PlotSources& sources,
                  const Window::Times& times, const Outputs& outputs) {
  RunReport report;
  if (!options.outputs.out.empty()) {
    if (const auto error =
            report.writeTo(options.outputs.out, sources.title(), sources.origin(), outputs))
      return complain(kCouldNotRun, *error);
  }
  Comparison comparison;
  const auto part = report.part(0, true);
  play(sources, times, *part, comparison);
  report.take(*part, true);
  if (const auto error = report.finish()) return complain(kCouldNotRun, *error);
  printReport(options.outputs, report, sources.title(), std::cout);
  if (!options.outputs.asJunit()) comparison.print(std::cout);
  return verdictOf(report.results());
}

ExitStatus runPlot(const PlotOptions& options) {
  std::optional<BoardFolder> board;
  if (!options.board.empty()) board = readBoard(options.board);
  const std::optional<Window::Times> times = timesOf(options);
  Problems problems;
  const std::vector<AskedBudget> budgets = readBudgets(options.budgets, problems);
  const Outputs outputs = readOutputs(options.outputs, problems);
  PlotSources sources(options, board ? &*board : nullptr);
  const bool usable = (board || options.board.empty()) && times && problems.none();
  const bool isRead = usable && sources.read() && reach(sources, *times);
  if (isRead) setBudgets(budgets, sources, problems);
  problems.print(std::cerr, colourFor(STDERR_FILENO));
  if (!isRead || !problems.none()) return kCouldNotRun;
  return report(options, sources, *times, outputs);
}

void addPlotOptions(CommandLine& line, PlotOptions& options) {
  line.option("LOG", &options.logs,
              "A log of a device, or a trace.csv of simulated runs; - is standard input")
      .isRequired()
      .takes("FILE");
  line.option("--board", &options.board,
              "Folder with the board's *.env and *.conf files, for thresholds and levels")
      .takes("DIR");
  addOutputOptions(line, options.outputs);
  addBudgetOptions(line, options.budgets,
                   "a sensor, or with node: a node of a simulated run's plant");
  line.option("--from", &options.from,
              "Show each run from this time on, such as 90s, 15m or 0:15:00")
      .takes("TIME");
  line.option("--to", &options.to, "Show each run up to this time").takes("TIME");
}

} // namespace

Command plotCommand() {
  return commandOf("plot",
                   "Show what a device's log holds, laid over other logs and simulated runs",
                   kPlotExamples, addPlotOptions, runPlot);
}
