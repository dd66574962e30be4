#include "log/CsvRecording.h"

#include <algorithm>
#include <charconv>
#include <map>
#include <optional>
#include <utility>
#include <vector>

#include "text/Phrases.h"
#include "trace/CsvFormat.h"

// A trace as it was written, of one run or several, below the line that names the columns:
//   day,1000,temperature,cpu,61000,
//   day,1000,algorithm,cpu_less,1,Default
//   day,1000,level,clock,1,600000

namespace {

template <typename Number> std::optional<Number> numberOf(const std::string& text) {
  Number number = 0;
  const char* end = text.data() + text.size();
  const auto read = std::from_chars(text.data(), end, number);
  if (read.ec != std::errc() || read.ptr != end) return std::nullopt;
  return number;
}

// One pass over the lines of one run.
class CsvReplay {
public:
  CsvReplay(Cast& cast_, const BoardFolder* board_, TraceSink& sink_)
      : cast(cast_), board(board_), sink(sink_) {}

  // False for a line that is none of this tool's.
  bool take(const csv::Fields& fields) {
    const auto time = numberOf<int64_t>(fields[csv::kTime]);
    // Times never fall within a run: a line that goes back is damaged, or another tool's.
    if (!time || *time < now) return false;
    now = *time;
    const std::string& event = fields[csv::kEvent];
    if (event == csv::kScenario) {
      sink.scenario(now, fields[csv::kName]);
    } else if (event == csv::kConfiguration) {
      enterConfiguration(fields[csv::kName]);
    } else if (event == csv::kStandstill) {
      sink.standstill(now);
    } else if (event == csv::kAlgorithm && fields[csv::kValue].empty()) {
      putToSleep(fields);
    } else if (event == csv::kGap) {
      return takeGap(fields);
    } else if (event == csv::kPower) {
      return takePower(fields);
    } else if (event != csv::kEnd) {
      return takeValue(event, fields);
    }
    return true;
  }

  int64_t end() {
    sink.end(now, {});
    return now;
  }

private:
  bool takeValue(const std::string& event, const csv::Fields& fields) {
    const auto value = numberOf<int32_t>(fields[csv::kValue]);
    if (!value) return false;
    if (event == csv::kTemperature)
      sink.temperature(now, cast.sensor(fields[csv::kName], SensorTrack::Kind::kReal), *value);
    else if (event == csv::kPlant)
      sink.temperature(now, cast.sensor(fields[csv::kName], SensorTrack::Kind::kPlantNode), *value);
    else if (event == csv::kLevel)
      sink.level(now, cast.device(fields[csv::kName]), *value, fields[csv::kDetail]);
    else if (event == csv::kAlgorithm)
      sink.algorithm(now, awakeOf(fields), *value);
    else
      return false;
    return true;
  }

  bool takePower(const csv::Fields& fields) {
    const auto microwatts = numberOf<int64_t>(fields[csv::kValue]);
    if (!microwatts) return false;
    sink.power(now, cast.source(fields[csv::kName]), *microwatts);
    return true;
  }

  bool takeGap(const csv::Fields& fields) {
    const auto length = numberOf<int64_t>(fields[csv::kValue]);
    if (!length || *length < 0 || *length > now) return false;
    const std::string& sensor = fields[csv::kName];
    sink.gap(now - *length, now,
             sensor.empty() ? std::nullopt
                            : std::optional(cast.sensor(sensor, SensorTrack::Kind::kReal)));
    return true;
  }

  // The file of that name, or that of the run: a device gives its first configuration a name of its
  // own.
  void enterConfiguration(const std::string& name) {
    configuration = name;
    sink.configuration(now, name);
    if (!board) return;
    const BoardFolder::ConfigurationTracks* known = board->named(name);
    if (!known) known = board->named(cast.description().name);
    if (!known) known = board->first();
    if (known) cast.addConfiguration(*known, name);
  }

  // The algorithm of a line that shows it awake: of the configuration in which it woke.
  size_t awakeOf(const csv::Fields& fields) {
    // At a swap the configuration's line comes first and its predecessor's algorithms fall asleep
    // behind it: by then the configuration in force would be the wrong one to look in.
    const auto [found, woken] =
        awake.try_emplace(std::pair(fields[csv::kName], fields[csv::kDetail]), 0);
    if (woken)
      found->second = cast.algorithm(fields[csv::kName], fields[csv::kDetail], configuration);
    return found->second;
  }

  void putToSleep(const csv::Fields& fields) {
    sink.algorithm(now, awakeOf(fields), TraceSink::kAsleep);
    awake.erase(std::pair(fields[csv::kName], fields[csv::kDetail]));
  }

  Cast& cast;
  const BoardFolder* board;
  TraceSink& sink;
  int64_t now = 0;
  std::string configuration;
  std::map<std::pair<std::string, std::string>, size_t> awake; // by name and scenario
};

} // namespace

bool isCsvTrace(std::string_view firstLine) {
  const std::string_view header = csv::header();
  return firstLine == header.substr(0, header.size() - 1);
}

CsvRecording::CsvRecording(LineSource& lines_, const std::string& prefix_,
                           const BoardFolder* board_)
    : lines(lines_), prefix(prefix_), board(board_) {
  // The first pass finds who takes part, which a sink is told before any event.
  TraceSink nothing;
  go([&nothing](Cast&) -> TraceSink& { return nothing; });
}

void CsvRecording::play(TraceSink& sink) {
  go([&](Cast& cast) -> TraceSink& {
    TraceDescription description = cast.description();
    description.name = prefix + description.name;
    setBudgets(description);
    sink.begin(description);
    return sink;
  });
}

void CsvRecording::go(const std::function<TraceSink&(Cast&)>& begin) {
  const bool isFirst = casts.empty();
  std::optional<CsvReplay> run;
  std::string name;
  size_t next = 0;
  count = torn = 0;
  std::string_view line;
  lines.rewind();
  lines.next(line);
  for (csv::Fields fields; lines.next(line);) {
    ++count;
    if (csv::takeFields(line, fields)) {
      if (!run || fields[csv::kRun] != name) {
        if (run) longest = std::max(longest, run->end());
        // The second pass finds the same runs in the same order, so that each takes the cast of
        // the first.
        name = fields[csv::kRun];
        if (isFirst) casts.emplace_back(name, board);
        Cast& cast = casts[next++];
        run.emplace(cast, board, begin(cast));
      }
      if (run->take(fields)) continue;
    }
    if (torn++ == 0) firstTorn = count + 1;
  }
  if (run) longest = std::max(longest, run->end());
}

std::set<std::string> CsvRecording::subjects() const {
  std::set<std::string> subjects;
  for (const Cast& cast : casts)
    addSubjects(cast.description(), subjects);
  return subjects;
}

std::optional<std::string> CsvRecording::problem() const {
  if (torn < count) return std::nullopt;
  return count == 0 ? "it holds no run"
                    : "none of its " + counted(count, "line") + " is one that thermalctl writes";
}

std::vector<std::string> CsvRecording::remarks() const {
  std::string read = counted(casts.size(), "simulated run") + " in " + counted(count, "line");
  if (torn > 0)
    read += ", " + counted(torn, "torn line") + " (the first is " + lines.placeOf(firstTorn) + ")";
  return {read};
}
