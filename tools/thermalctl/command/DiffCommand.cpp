#include <algorithm>
#include <filesystem>
#include <iostream>
#include <optional>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include "base/TextReader.h"
#include "check/Inspection.h"
#include "command/Commands.h"
#include "command/DiffStudy.h"
#include "diff/DiffOutput.h"
#include "file/Revision.h"
#include "text/Phrases.h"

namespace {

namespace fs = std::filesystem;

struct DiffOptions {
  std::string before;
  std::string after = ".";
  std::string format = "text";
  std::vector<std::string> failOn;
  bool simulates = false;

  bool failsOn(const char* what) const {
    return std::count(failOn.begin(), failOn.end(), what) > 0;
  }
};

constexpr char kDiffExamples[] =
    "Examples:\n"
    "  thermalctl diff old.conf new.conf\n"
    "  thermalctl diff boards/phone boards/tablet\n"
    "  thermalctl diff HEAD boards/phone                    what is not committed yet\n"
    "  thermalctl diff main boards/phone --format markdown --fail-on coverage\n"
    "  thermalctl diff HEAD boards/phone --simulate         and when the runs part\n"
    "\n"
    "By meaning: what the daemon takes alike is no change. A folder is a board's, with its\n"
    "environment file and its configurations; a revision is one of git's, of the other's folder.\n"
    "--simulate runs the study.toml beside the board, on each side that side's own.\n"
    "\n"
    "Exit status: 0 compared, 1 with --fail-on something of that kind changes, 2 a file could not "
    "be\n"
    "read, or the command line is wrong.";

// The files of one side. A revision's are in a folder that lasts as long.
struct Side {
  std::string name;
  fs::path path;
  std::optional<Revision> revision{};
};

// The folder in which a path's revision is looked for, and the file in it.
Side atRevision(const std::string& name, const fs::path& other) {
  const bool isFile = fs::is_regular_file(other);
  const fs::path folder = isFile ? other.parent_path() : other;
  Side side{name, {}, Revision(name, folder)};
  if (!side.revision->isThere())
    throw UsageError("there is no file, no folder and no revision '" + name + "'");
  side.path = isFile ? side.revision->folder() / other.filename() : side.revision->folder();
  return side;
}

std::pair<Side, Side> sidesOf(const DiffOptions& options) {
  const bool hasBefore = fs::exists(options.before);
  const bool hasAfter = fs::exists(options.after);
  const fs::path here = hasBefore ? options.before : hasAfter ? options.after : ".";
  std::pair<Side, Side> sides = {
      hasBefore ? Side{options.before, options.before} : atRevision(options.before, here),
      hasAfter ? Side{options.after, options.after} : atRevision(options.after, here)};
  if (fs::is_directory(sides.first.path) != fs::is_directory(sides.second.path))
    throw UsageError(quoted(options.before) + " and " + quoted(options.after) +
                     " are a folder and a file; compare two of a kind");
  return sides;
}

std::vector<std::string> filesWith(const std::string& ending, const fs::path& folder) {
  std::vector<std::string> files;
  std::error_code error;
  for (const fs::directory_entry& entry :
       fs::directory_iterator(folder.empty() ? "." : folder, error))
    if (entry.path().extension() == ending) files.push_back(entry.path().string());
  std::sort(files.begin(), files.end());
  return files;
}

bool isEnvironment(const fs::path& file) {
  const std::optional<std::string> content = readFile(file.string());
  return file.extension() == ".env" ||
         (content && readConfiguration(file.string(), *content, Environment()).kind.kind ==
                         TextKind::kEnvironment);
}

// Of a folder the board, of a file that alone; a configuration is read for the board beside it.
InspectionOrder orderOf(const fs::path& path) {
  const bool isFolder = fs::is_directory(path);
  if (!isFolder && isEnvironment(path)) return {path.string(), {}, std::nullopt};
  const fs::path folder = isFolder ? path : path.parent_path();
  const std::vector<std::string> boards = filesWith(".env", folder);
  if (isFolder && boards.size() != 1)
    throw UsageError(quoted(path.string()) +
                     (boards.empty() ? " holds no environment file (*.env)"
                                     : " holds several environment files: " + listed(boards)));
  const std::vector<std::string> own = {path.string()};
  return {boards.size() == 1 ? boards.front() : "", isFolder ? filesWith(".conf", folder) : own,
          std::nullopt};
}

// What one side means.
struct ReadSide {
  Inspection inspection;
  Meaning meaning;
  FileNames names;
};

// Whether all that was named could be read. Without a board a configuration is read for one that
// has whatever it names.
bool isRead(const ReadSide& reading, const InspectionOrder& order) {
  return std::all_of(
      reading.inspection.unread.begin(), reading.inspection.unread.end(),
      [&](const UnreadFile& file) { return file.name.empty() && order.environment.empty(); });
}

// A configuration without a board beside it is for that of the other one.
ReadSide readingOf(const Side& side, const Side& other) {
  InspectionOrder order = orderOf(side.path);
  if (order.environment.empty()) order.environment = orderOf(other.path).environment;
  ReadSide reading{inspect(order), {}, {}};
  if (!isRead(reading, order)) {
    for (const UnreadFile& file : reading.inspection.unread)
      complain(kCouldNotRun, describe(file));
    throw UsageError("cannot compare");
  }
  const bool isFolder = fs::is_directory(side.path);
  // Beside a configuration the board is read, too, but not compared.
  if (isFolder || order.configurations.empty())
    addMeaning(reading.meaning, reading.inspection.environment);
  for (const Configuration& configuration : reading.inspection.configurations) {
    // Of two files each is what it is compared with, whatever its name.
    reading.names[&configuration] =
        isFolder ? fs::path(configuration.file).filename().string() : "the configuration";
    addMeaning(reading.meaning, configuration, reading.names.at(&configuration));
  }
  return reading;
}

Difference differenceOf(const ReadSide& before, const ReadSide& after) {
  const Coverage old(before.inspection.environment, before.inspection.configurations);
  const Coverage now(after.inspection.environment, after.inspection.configurations);
  return {changesOf(before.meaning, after.meaning),
          coverageChanges(old, before.names, now, after.names)};
}

void print(const Difference& difference, const std::string& format) {
  if (format == "json") return printDifferenceAsJson(std::cout, difference);
  if (format == "markdown") return printDifferenceAsMarkdown(std::cout, difference);
  printDifference(std::cout, difference);
}

bool isBoardWithStudy(const fs::path& folder) {
  return hasStudy(folder) && filesWith(".env", folder).size() == 1;
}

// What is simulated of a side: the study of its folder. A file has that of the folder in which it
// lies, or of the other's if that is no board's, and takes the place of that board's own.
SimulatedSide simulatedSide(const Side& side, const Side& other) {
  const InspectionOrder own = orderOf(side.path);
  if (fs::is_directory(side.path)) return {side.name, side.path, own.environment, {}};
  fs::path board = side.path.parent_path();
  if (!isBoardWithStudy(board)) board = other.path.parent_path();
  if (board.empty()) board = ".";
  if (own.configurations.empty()) return {side.name, board, own.environment, {}};
  return {side.name, board, isBoardWithStudy(board) ? orderOf(board).environment : "",
          own.configurations.front()};
}

// What is told while it lives, of files of revisions by the names that git has for them.
class Telling {
public:
  explicit Telling(const std::pair<Side, Side>& sides_)
      : sides(sides_), usual(std::cerr.rdbuf(told.rdbuf())) {}
  Telling(const Telling&) = delete;
  Telling& operator=(const Telling&) = delete;
  ~Telling() {
    std::cerr.rdbuf(usual);
    std::cerr << named(told.str());
  }

  std::string named(std::string text) const {
    for (const Side* side : {&sides.first, &sides.second})
      if (side->revision) text = side->revision->named(text);
    return text;
  }

private:
  const std::pair<Side, Side>& sides;
  std::ostringstream told;
  std::streambuf* usual;
};

ExitStatus compare(const DiffOptions& options, const Side& before, const Side& after) {
  Difference difference = differenceOf(readingOf(before, after), readingOf(after, before));
  if (options.simulates || options.failsOn("verdict")) {
    difference.runs = simulated(simulatedSide(before, after), simulatedSide(after, before));
    if (!difference.runs) return kCouldNotRun;
  }
  print(difference, options.format);
  const bool fails = (options.failsOn("any") && !difference.none()) ||
                     (options.failsOn("coverage") && !difference.coverage.empty()) ||
                     (options.failsOn("verdict") && difference.runs->figures.isWorse());
  return fails ? kProblems : kFine;
}

ExitStatus runDiff(const DiffOptions& options) {
  const std::pair<Side, Side> sides = sidesOf(options);
  const Telling telling(sides);
  try {
    return compare(options, sides.first, sides.second);
  } catch (const UsageError& error) {
    throw UsageError(telling.named(error.what()));
  }
}

void addDiffOptions(CommandLine& line, DiffOptions& options) {
  line.option("OLD", &options.before, "A file, a folder with a board's files, or a git revision")
      .takes("FILE|DIR")
      .isRequired();
  line.option("NEW", &options.after, "The same, as it is now; by itself the folder in hand")
      .takes("FILE|DIR");
  line.option("--format", &options.format, "Of the results: text, markdown or json")
      .isOneOf({"text", "markdown", "json"})
      .showsDefault();
  line.flag("--simulate", &options.simulates,
            "Also run the board's study.toml on both sides: when the runs part, and which verdicts "
            "and figures change");
  line.option("--fail-on", &options.failOn,
              "Exit with status 1 on a change of what is cooled (coverage), on a verdict that is "
              "worse (verdict, which simulates), or on any; any number")
      .isOneOf({"coverage", "verdict", "any"});
}

} // namespace

Command diffCommand() {
  return commandOf("diff", "Tell what an edit of a board's files changes, by meaning",
                   kDiffExamples, addDiffOptions, runDiff);
}
