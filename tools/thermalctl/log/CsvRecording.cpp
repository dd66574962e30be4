#include "log/CsvRecording.h"

#include <array>
#include <charconv>
#include <map>
#include <optional>
#include <utility>
#include <vector>

#include "log/Cast.h"
#include "trace/NullSink.h"

namespace {

constexpr std::string_view kHeader = "run,time_ms,event,name,value,detail\n";

enum Column { kRun, kTime, kEvent, kName, kValue, kDetail, kColumns };
using Fields = std::array<std::string, kColumns>;

// Takes one field and the comma behind it from the start of `line`. False without a comma.
bool takeField(std::string_view& line, std::string& field) {
  field.clear();
  bool quoted = false;
  size_t i = 0;
  for (; i < line.size() && (quoted || line[i] != ','); ++i) {
    if (line[i] != '"')
      field += line[i];
    else if (quoted && i + 1 < line.size() && line[i + 1] == '"')
      field += line[i++];
    else
      quoted = !quoted;
  }
  const bool more = i < line.size();
  line.remove_prefix(more ? i + 1 : i);
  return more;
}

bool takeFields(std::string_view line, Fields& fields) {
  for (size_t i = 0; i < kColumns; ++i) {
    const bool more = takeField(line, fields[i]);
    if (more != (i + 1 < kColumns)) return false;
  }
  return true;
}

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
  bool take(const Fields& fields) {
    const auto time = numberOf<int64_t>(fields[kTime]);
    if (!time || *time < now) return false;
    now = *time;
    const std::string& event = fields[kEvent];
    if (event == "scenario") {
      sink.scenario(now, fields[kName]);
    } else if (event == "configuration") {
      enterConfiguration(fields[kName]);
    } else if (event == "algorithm" && fields[kValue].empty()) {
      putToSleep(fields);
    } else if (event != "end") {
      return takeValue(event, fields);
    }
    return true;
  }

  int64_t end() const { return now; }

private:
  bool takeValue(const std::string& event, const Fields& fields) {
    const auto value = numberOf<int32_t>(fields[kValue]);
    if (!value) return false;
    if (event == "temperature")
      sink.temperature(now, cast.sensor(fields[kName], SensorTrack::Kind::kReal), *value);
    else if (event == "plant")
      sink.temperature(now, cast.sensor(fields[kName], SensorTrack::Kind::kPlantNode), *value);
    else if (event == "level")
      sink.level(now, cast.device(fields[kName]), *value, fields[kDetail]);
    else if (event == "algorithm")
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
    const BoardFolder::Configuration* known = board->named(name);
    if (!known) known = board->named(cast.description().name);
    if (!known) known = board->first();
    if (known) cast.addConfiguration(*known, name);
  }

  // The algorithm of a line that shows it awake: of the configuration in which it woke.
  size_t awakeOf(const Fields& fields) {
    const auto [found, woken] = awake.try_emplace(std::pair(fields[kName], fields[kDetail]), 0);
    if (woken) found->second = cast.algorithm(fields[kName], fields[kDetail], configuration);
    return found->second;
  }

  void putToSleep(const Fields& fields) {
    sink.algorithm(now, awakeOf(fields), TraceSink::kAsleep);
    awake.erase(std::pair(fields[kName], fields[kDetail]));
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
  for (size_t at = kHeader.size(); at < text.size();) {
    const size_t end = std::min(text.find('\n', at), text.size() - 1) + 1;
    std::string_view line = text.substr(at, end - at);
    ++number;
    takeField(line, name);
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
  Fields fields;
  size_t number = run.firstLine;
  for (std::string_view rest = run.lines; !rest.empty(); ++number) {
    const size_t length = rest.find('\n');
    const std::string_view line = rest.substr(0, length);
    rest.remove_prefix(std::min(line.size() + 1, rest.size()));
    ++counts.lines;
    if (takeFields(line, fields) && play.take(fields)) continue;
    if (counts.torn++ == 0) counts.firstTorn = number;
  }
  return play.end();
}

} // namespace

bool isCsvTrace(std::string_view text) {
  return text.substr(0, kHeader.size()) == kHeader;
}

CsvCounts playCsv(const std::string& text, const std::string& prefix, const BoardFolder* board,
                  TraceSink& sink) {
  CsvCounts counts;
  for (const Run& run : runsOf(text)) {
    Cast cast(run.name, board);
    NullSink nothing;
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
