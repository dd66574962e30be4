#include <algorithm>
#include <filesystem>
#include <iostream>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "command/Command.h"
#include "config/TextReader.h"
#include "core/Log.h"
#include "log/BoardFolder.h"
#include "log/CsvRecording.h"
#include "log/LogRecording.h"
#include "report/RunReport.h"

namespace {

namespace fs = std::filesystem;

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

std::string counted(size_t count, const std::string& noun) {
  return std::to_string(count) + " " + noun + (count == 1 ? "" : "s");
}

std::string tornText(size_t torn, size_t first) {
  if (torn == 0) return "";
  return ", " + counted(torn, "torn line") + " (the first is line " + std::to_string(first) + ")";
}

// The file's own name, or the path where that would not tell two files apart.
std::string nameOf(const std::string& path, const std::vector<std::string>& all) {
  const std::string name = fs::path(path).filename().string();
  const auto namesakes = std::count_if(all.begin(), all.end(), [&name](const std::string& other) {
    return fs::path(other).filename() == name;
  });
  return namesakes > 1 ? path : name;
}

bool plotCsv(const std::string& path, const std::string& text, const Options& options,
             const BoardFolder* board, RunReport& report) {
  const std::string prefix = options.logs.size() > 1 ? nameOf(path, options.logs) + ": " : "";
  const CsvCounts counts = playCsv(text, prefix, board, report);
  std::cerr << path << ": " << counted(counts.runs, "simulated run") << " in "
            << counted(counts.lines, "line") << tornText(counts.torn, counts.firstTorn) << "\n";
  return true;
}

bool plotLog(const std::string& path, const std::string& text, const Options& options,
             const BoardFolder* board, RunReport& report) {
  const LogReader::Counts counts = playLog(text, nameOf(path, options.logs), board, report);
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
    title += (title.empty() ? "" : ", ") + nameOf(path, options.logs);
  return title;
}

ExitStatus plotCommand(const Options& options) {
  logEnabled = false;
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
  for (const std::string& path : options.logs)
    all &= plot(path, options, board ? &*board : nullptr, report);
  if (const auto error = report.finish()) return complain(kCouldNotRun, *error);
  if (!all) return kCouldNotRun;
  report.summary().print(std::cout);
  return kFine;
}

} // namespace

void addPlotCommand(CLI::App& app, int& status) {
  const auto options = std::make_shared<Options>();
  CLI::App* command = app.add_subcommand(
      "plot", "Show what a device's log holds, laid over other logs and simulated runs");
  command
      ->add_option("LOG", options->logs,
                   "A log in one of logcat's formats, or a trace.csv of a simulated run")
      ->required()
      ->type_name("FILE");
  command
      ->add_option("--board", options->board,
                   "Folder with the board's *.env and *.conf files, for thresholds and levels")
      ->type_name("DIR");
  command->add_option("--out", options->out, "Folder for trace.csv, trace.json and report.html")
      ->type_name("DIR");
  command->footer(kExamples);
  command->callback([options, &status] { status = plotCommand(*options); });
}
