#include "log/CsvRecording.h"

#include <charconv>
#include <map>
#include <optional>
#include <utility>
#include <vector>

#include "log/Cast.h"
#include "trace/CsvFormat.h"

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
    } else if (event != csv::kEnd) {
      return takeValue(event, fields);
    }
    return true;
  }

  int64_t end() const { return now; }

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

// The lines of one run, which stand together.
struct Run {
  std::string name;
  std::string_view lines;
  size_t firstLine = 0; // its number, from 1
};

std::vector<Run> runsOf(std::string_view text) {
  std::vector<Run> runs;
  size_t number = 1;
  std::string name;
  for (size_t at = csv::header().size(); at < text.size();) {
    // The last line may have been cut off before its line feed.
    const size_t end = std::min(text.find('\n', at), text.size() - 1) + 1;
    std::string_view line = text.substr(at, end - at);
    ++number;
    csv::takeField(line, name);
    if (runs.empty() || runs.back().name != name)
      runs.push_back({name, text.substr(at, 0), number});
    runs.back().lines = {runs.back().lines.data(), runs.back().lines.size() + end - at};
    at = end;
  }
  return runs;
}

int64_t replay(const Run& run, Cast& cast, const BoardFolder* board, TraceSink& sink,
               CsvCounts& counts) {
  CsvReplay play(cast, board, sink);
  csv::Fields fields;
  size_t number = run.firstLine;
  for (std::string_view rest = run.lines; !rest.empty(); ++number) {
    const size_t length = rest.find('\n');
    const std::string_view line = rest.substr(0, length);
    rest.remove_prefix(std::min(line.size() + 1, rest.size()));
    ++counts.lines;
    if (csv::takeFields(line, fields) && play.take(fields)) continue;
    if (counts.torn++ == 0) counts.firstTorn = number;
  }
  return play.end();
}

} // namespace

bool isCsvTrace(std::string_view text) {
  return text.substr(0, csv::header().size()) == csv::header();
}

CsvCounts playCsv(const std::string& text, const std::string& prefix, const BoardFolder* board,
                  TraceSink& sink) {
  CsvCounts counts;
  for (const Run& run : runsOf(text)) {
    Cast cast(run.name, board);
    // The first pass finds who takes part, which a sink is told before any event.
    TraceSink nothing;
    CsvCounts again;
    replay(run, cast, board, nothing, again);
    TraceDescription description = cast.description();
    description.name = prefix + run.name;
    sink.begin(description);
    sink.end(replay(run, cast, board, sink, counts), {});
    ++counts.runs;
  }
  return counts;
}
