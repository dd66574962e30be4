#include "log/LogRecording.h"

#include <algorithm>

#include "log/Cast.h"
#include "log/LogTime.h"
#include "text/Phrases.h"

namespace {

Periods periodsOf(const BoardFolder* board) {
  Periods periods;
  if (!board) return periods;
  for (const SensorTrack& sensor : board->description().sensors) {
    if (sensor.kind == SensorTrack::Kind::kReal && sensor.period)
      periods[sensor.name] = *sensor.period;
  }
  return periods;
}

std::string lengthOf(int64_t milliseconds) {
  if (milliseconds < 60 * kSecond)
    return rounded(static_cast<double>(milliseconds) / kSecond, 1) + " s";
  return clockOf(milliseconds);
}

std::string tell(const LogGap& gap) {
  return "a gap of " + lengthOf(gap.to - gap.from) + " from " + clockTime(gap.from / kSecond) +
         " on: " + (gap.sensor.empty() ? "no message" : "no sample of " + gap.sensor);
}

// The longest ones, since a log from which lines were dropped may have thousands.
void tellGaps(std::vector<LogGap> gaps, std::vector<std::string>& remarks) {
  constexpr size_t kTold = 5;
  if (gaps.empty()) return;
  const size_t told = std::min(gaps.size(), kTold);
  std::partial_sort(gaps.begin(), gaps.begin() + static_cast<std::ptrdiff_t>(told), gaps.end(),
                    [](const LogGap& a, const LogGap& b) { return a.to - a.from > b.to - b.from; });
  std::sort(gaps.begin(), gaps.begin() + static_cast<std::ptrdiff_t>(told),
            [](const LogGap& a, const LogGap& b) { return a.from < b.from; });
  for (size_t i = 0; i < told; ++i)
    remarks.push_back(tell(gaps[i]));
  if (gaps.size() > told) remarks.push_back("and " + counted(gaps.size() - told, "shorter gap"));
  remarks.push_back("no chart and no sum of times has what is in a gap (the device was suspended, "
                    "lines were dropped, or the clock was set forward)");
}

} // namespace

LogRecording::LogRecording(LineSource& log_, const std::string& name, const BoardFolder* board_)
    : log(log_), board(board_), known(periodsOf(board)), periods(known), survey(board),
      cast(name, board) {
  // A log is gone through twice or three times before it is played, and never held: for the
  // periods of sensors that no board tells, once more for the gaps that these make, and for who
  // takes part, whom a sink must know before the first event.
  PeriodsSeen periodsSeen;
  seen = go([this](const LogGap& gap) { survey.gap(gap); },
            [&](const LogReader& reader, const LogLine& line) {
              survey.take(line);
              if (line.kind == LogLine::Kind::kSample && reader.uncertainty())
                periodsSeen.take(reader.time(), line);
              shown += line.kind != LogLine::Kind::kOther && line.kind != LogLine::Kind::kStart;
            });
  periodsSeen.addTo(periods);
  // With other periods, other gaps.
  if (periods.size() != known.size()) {
    survey = LogSurvey(board);
    go([this](const LogGap& gap) { survey.gap(gap); },
       [this](const LogReader&, const LogLine& line) { survey.take(line); });
  }
  if (board) {
    for (const BoardFolder::ConfigurationTracks& configuration : board->configurations())
      cast.addConfiguration(configuration, configuration.name);
  }
  TraceSink nothing;
  LogReplay replay(cast, survey, nothing);
  playInto(replay);
  untold = replay.untoldSwaps();
}

template <typename Gap, typename Take> LogReader::Counts LogRecording::go(Gap gap, Take take) {
  LogReader reader(log, known);
  GapFinder finder(periods);
  found.clear();
  const auto tell = [&](const std::vector<LogGap>& gaps) {
    for (const LogGap& each : gaps) {
      gap(each);
      found.push_back(each);
    }
  };
  std::optional<int64_t> uncertainty;
  while (const auto line = reader.next()) {
    uncertainty = reader.uncertainty();
    if (uncertainty) tell(finder.take(reader.time(), *uncertainty, *line));
    take(reader, *line);
  }
  if (uncertainty) tell(finder.finish(reader.time(), *uncertainty));
  end = reader.time();
  return reader.counts();
}

void LogRecording::playInto(LogReplay& replay) {
  replay.start();
  go([&replay](const LogGap& gap) { replay.gap(gap); },
     [&replay](const LogReader& reader, const LogLine& line) { replay.take(reader.time(), line); });
}

void LogRecording::play(TraceSink& sink) {
  TraceDescription description = cast.description();
  setBudgets(description);
  LogReplay replay(cast, survey, sink);
  sink.begin(description);
  playInto(replay);
  sink.end(end, {});
}

std::set<std::string> LogRecording::subjects() const {
  std::set<std::string> subjects;
  addSubjects(cast.description(), subjects);
  return subjects;
}

std::optional<std::string> LogRecording::problem() const {
  if (seen.ours == 0) {
    if (seen.torn > 0)
      return "all " + counted(seen.torn, "message") + " of the daemon in it are torn";
    return "no message of the daemon is in it";
  }
  if (shown == 0)
    return "it has " + counted(seen.ours, "message") +
           " of the daemon, but none of a temperature, a level or a scenario";
  if (seen.withoutTime > 0 && !board)
    return counted(seen.withoutTime, "message") +
           " without a time; with --board the sensors' periods stand in for it";
  return std::nullopt;
}

std::vector<std::string> LogRecording::remarks() const {
  std::vector<std::string> remarks;
  std::string read =
      counted(seen.ours, "message") + " of the daemon in " + counted(seen.lines, "line");
  if (seen.torn > 0)
    read += ", " + counted(seen.torn, "torn line") + " (the first is " +
            log.placeOf(seen.firstTorn) + ")";
  remarks.push_back(read);
  if (seen.clockSet > 0)
    remarks.push_back("the clock was set " + counted(seen.clockSet, "time") +
                      "; what it jumped is left out");
  if (seen.withoutTime > 0)
    remarks.push_back(counted(seen.withoutTime, "message") +
                      " without a time, which the sensors' periods stand in for");
  tellGaps(found, remarks);
  for (const LogReplay::UntoldSwap& swap : untold)
    remarks.push_back("which configuration came in force at " + clockTime(swap.time / kSecond) +
                      " does not show; it is taken for " + swap.takenFor);
  return remarks;
}
