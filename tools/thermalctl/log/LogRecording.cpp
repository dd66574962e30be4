#include "log/LogRecording.h"

#include "base/Names.h"
#include "log/Cast.h"
#include "log/LogReplay.h"

namespace {

LogReader::Periods periodsOf(const BoardFolder* board) {
  LogReader::Periods periods;
  if (!board) return periods;
  for (const SensorTrack& sensor : board->description().sensors) {
    if (sensor.period) periods[sensor.name] = *sensor.period;
  }
  return periods;
}

// That of the first sample, unless the daemon is seen to start; nothing if the log tells neither.
std::string firstScenario(const std::string& text, const LogReader::Periods& periods) {
  LogReader reader(text, periods);
  while (const auto line = reader.next()) {
    if (line->kind == LogLine::Kind::kStart) return kDefaultScenario;
    if (line->kind == LogLine::Kind::kSample) return std::string(declaredScenario(line->scenario));
  }
  return "";
}

// Returns when the last message came, in milliseconds since the first.
int64_t replay(LogReader& reader, const std::string& scenario, const BoardFolder* board, Cast& cast,
               TraceSink& sink) {
  LogReplay play(cast, board, sink);
  play.start(scenario);
  while (const auto line = reader.next())
    play.take(reader.time(), *line);
  return reader.time();
}

} // namespace

LogReader::Counts playLog(const std::string& text, const std::string& name,
                          const BoardFolder* board, TraceSink& sink) {
  const LogReader::Periods periods = periodsOf(board);
  const std::string scenario = firstScenario(text, periods);
  Cast cast(name, board);
  if (board) {
    for (const BoardFolder::ConfigurationTracks& configuration : board->configurations())
      cast.addConfiguration(configuration, configuration.name);
  }
  TraceSink nothing;
  LogReader first(text, periods);
  replay(first, scenario, board, cast, nothing);
  // A run that holds nothing would only be an empty column beside the others.
  if (first.counts().ours == 0) return first.counts();

  LogReader second(text, periods);
  sink.begin(cast.description());
  sink.end(replay(second, scenario, board, cast, sink), {});
  return second.counts();
}
