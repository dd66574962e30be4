#pragma once

#include <cstddef>
#include <deque>
#include <functional>
#include <string>
#include <string_view>

#include "log/BoardFolder.h"
#include "log/Cast.h"
#include "log/LineSource.h"
#include "log/Recording.h"

// Whether a text whose first line is this one is a trace.csv that this tool wrote.
bool isCsvTrace(std::string_view firstLine);

// The runs of a trace.csv, each under its own name or, if `prefix` is not empty, with that before
// it.
//
// Shape:  `board` may be null; like `lines` it must outlive the recording. With one, thresholds and
//         devices come from its configuration of the name that the trace has, failing that of the
//         run's name, failing that the first.
// Errors: a torn line is counted and passed over, so that a file cut off in the middle still shows
//         all that came before.
class CsvRecording : public Recording {
public:
  CsvRecording(LineSource& lines, const std::string& prefix, const BoardFolder* board);

  std::optional<std::string> problem() const override;
  std::vector<std::string> remarks() const override;
  void play(TraceSink& sink) override;
  int64_t duration() const override { return longest; }
  std::set<std::string> subjects() const override;

private:
  // Goes through all of it. For each run `begin(cast)` gives the sink that its lines are played
  // into.
  void go(const std::function<TraceSink&(Cast&)>& begin);

  LineSource& lines;
  const std::string prefix;
  const BoardFolder* board;
  std::deque<Cast> casts; // of each run
  int64_t longest = 0;    // milliseconds
  size_t count = 0;       // lines, without the one that names the columns
  size_t torn = 0;        // not of the shape that this tool writes
  size_t firstTorn = 0;   // its number, from 1
};
