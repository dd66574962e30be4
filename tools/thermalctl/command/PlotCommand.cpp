#include <iostream>
#include <optional>
#include <string>
#include <vector>

#include "base/Log.h"
#include "base/TextReader.h"
#include "command/Commands.h"
#include "file/Names.h"
#include "log/BoardFolder.h"
#include "log/CsvRecording.h"
#include "log/LogRecording.h"
#include "report/RunReport.h"
#include "text/Phrases.h"

namespace {

constexpr char kExamples[] =
    "Examples:\n"
    "  thermalctl plot phone.log --board boards/phone --out report\n"
    "  thermalctl plot phone.log simulated/trace.csv --board boards/phone --out both\n"
    "\n"
    "adb logcat -d -v threadtime > phone.log takes a device's log.\n"
    "Exit status: 0 fine, 2 could not run: a file that cannot be read or written, a log without a\n"
    "message of the daemon, or without times where no --board has the sensors' periods.";

struct Options {
  std::vector<std::string> logs;
  std::string board;
  std::string out;
};

bool fail(const std::string& what) {
  complain(kCouldNotRun, what);
  return false;
}

std::string tornText(size_t torn, size_t first) {
  if (torn == 0) return "";
  return ", " + counted(torn, "torn line") + " (the first is line " + std::to_string(first) + ")";
}

bool plotCsv(const std::string& path, const std::string& text, const Options& options,
             const BoardFolder* board, RunReport& report) {
  const std::string prefix = options.logs.size() > 1 ? shortName(path, options.logs) + ": " : "";
  const CsvCounts counts = playCsv(text, prefix, board, report);
  std::cerr << path << ": " << counted(counts.runs, "simulated run") << " in "
            << counted(counts.lines, "line") << tornText(counts.torn, counts.firstTorn) << "\n";
  return true;
}

bool plotLog(const std::string& path, const std::string& text, const Options& options,
             const BoardFolder* board, RunReport& report) {
  const LogReader::Counts counts = playLog(text, shortName(path, options.logs), board, report);
  if (counts.ours == 0) return fail(path + ": no message of the daemon is in it");
  std::cerr << path << ": " << counted(counts.ours, "message") << " of the daemon in "
            << counted(counts.lines, "line") << tornText(counts.torn, counts.firstTorn) << "\n";
  if (counts.clockSet > 0)
    std::cerr << path << ": the clock was set " << counted(counts.clockSet, "time")
              << "; what it jumped is left out\n";
  if (counts.withoutTime == 0) return true;
  if (board) {
    std::cerr << path << ": " << counted(counts.withoutTime, "message")
              << " without a time, which the sensors' periods stand in for\n";
    return true;
  }
  return fail(path + ": " + counted(counts.withoutTime, "message") +
              " without a time; with --board the sensors' periods stand in for it");
}

bool plot(const std::string& path, const Options& options, const BoardFolder* board,
          RunReport& report) {
  const std::optional<std::string> text = readFile(path);
  if (!text) return fail(path + ": cannot be read");
  return (isCsvTrace(*text) ? plotCsv : plotLog)(path, *text, options, board, report);
}

std::string titleOf(const Options& options) {
  std::string title;
  for (const std::string& path : options.logs)
    title += (title.empty() ? "" : ", ") + shortName(path, options.logs);
  return title;
}

ExitStatus runPlot(const Options& options) {
  std::vector<std::string> problems;
  std::optional<BoardFolder> board;
  if (!options.board.empty()) board.emplace(options.board, problems);
  for (const std::string& problem : problems)
    fail(problem);
  if (!problems.empty()) return kCouldNotRun;

  RunReport report;
  if (!options.out.empty()) {
    if (const auto error = report.writeTo(options.out, titleOf(options)))
      return complain(kCouldNotRun, *error);
  }
  bool all = true;
  // All of them, even behind one that cannot be used: so one look shows all that is wrong.
  for (const std::string& path : options.logs)
    all &= plot(path, options, board ? &*board : nullptr, report);
  if (const auto error = report.finish()) return complain(kCouldNotRun, *error);
  if (!all) return kCouldNotRun;
  report.summary().print(std::cout);
  return kFine;
}

void addOptions(CommandLine& line, Options& options) {
  line.option("LOG", &options.logs,
              "A log in one of logcat's formats, or a trace.csv of a simulated run")
      .isRequired()
      .takes("FILE");
  line.option("--board", &options.board,
              "Folder with the board's *.env and *.conf files, for thresholds and levels")
      .takes("DIR");
  line.option("--out", &options.out, "Folder for trace.csv, trace.json and report.html")
      .takes("DIR");
}

} // namespace

Command plotCommand() {
  return commandOf("plot",
                   "Show what a device's log holds, laid over other logs and simulated runs",
                   kExamples, addOptions, runPlot);
}
