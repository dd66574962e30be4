#pragma once

#include <string>
#include <vector>

#include "log/BoardFolder.h"
#include "log/GapFinder.h"
#include "log/JoinedLog.h"
#include "log/LogReader.h"
#include "log/LogReplay.h"
#include "log/LogSurvey.h"
#include "log/Recording.h"

// A device's log as a run. It is gone through for what is in force when, then for who takes part
// and, each time that it is played, for the sink.
//
// Shape:  `board` may be null; like `log` it must outlive the recording.
class LogRecording : public Recording {
public:
  LogRecording(LineSource& log, const std::string& name, const BoardFolder* board);

  std::optional<std::string> problem() const override;
  std::vector<std::string> remarks() const override;
  void play(TraceSink& sink) override;
  int64_t duration() const override { return end; }
  std::set<std::string> subjects() const override;

  const LogReader::Counts& counts() const { return seen; }
  const std::vector<LogGap>& gaps() const { return found; }

private:
  // Calls `take(reader, line)` for all of the log, and `gap(gap)` before the message that ends one.
  template <typename Gap, typename Take> LogReader::Counts go(Gap gap, Take take);
  void playInto(LogReplay& replay);

  LineSource& log;
  const BoardFolder* board;
  const Periods known; // of the board
  Periods periods;     // and of what else is in the log
  LogSurvey survey;
  Cast cast;
  LogReader::Counts seen;
  size_t shown = 0; // messages that a picture shows
  int64_t end = 0;
  std::vector<LogGap> found;
  std::vector<LogReplay::UntoldSwap> untold;
};
