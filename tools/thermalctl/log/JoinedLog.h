#pragma once

#include <cstddef>
#include <cstdint>
#include <deque>
#include <optional>
#include <string>
#include <vector>

#include "log/LineFile.h"
#include "log/LogHeader.h"

// Where the messages of the daemon in one file begin and end.
//
// Shape:  without times, or without a message, the two are not known. `lastLine` is the text of the
//         last message of the daemon with all that stands in front of it.
// Units:  milliseconds, as they are written.
struct LogSpan {
  std::optional<int64_t> first;
  std::optional<int64_t> last;
  int32_t pid = 0; // of the daemon at the end
  std::string lastLine;
};

// A log in one or more files: logcat and logrotate begin a new one now and then, and who dumps the
// log again and again has its lines twice.
//
// Shape:  the parts' lines one behind the other, in the order of time. Where a part begins before
//         the one ahead of it ends, what that one has is left out.
class JoinedLog : public LineSource {
public:
  // One of the files.
  //
  // Shape:  `name` is as the user gives it. `file` must outlive the log.
  // Source: `span` is found by `partsOfLogs`.
  struct Part {
    std::string name;
    LineFile* file = nullptr;
    LogSpan span;
  };

  explicit JoinedLog(std::vector<Part> parts_) : parts(std::move(parts_)) {}

  bool next(std::string_view& line) override;
  void rewind() override;

  const std::vector<Part>& all() const { return parts; }
  // "line 3 of NAME" where there are several parts.
  std::string placeOf(size_t line) const override;

private:
  bool isTwice(std::string_view line);

  std::vector<Part> parts;
  size_t part = 0;
  // Of the part at hand: lines were left out up to here.
  bool leavesOut = false;
  size_t given = 0; // lines, of all parts
  // For each part that was begun: how many lines came before it, and how many of its own were left
  // out.
  struct Begun {
    size_t before = 0;
    size_t leftOut = 0;
  };
  std::vector<Begun> begun;
};

// The logs that these files are: each with its parts in the order of time, and the logs in the
// order in which their first file is given. Files are parts of one log if their names are the same
// but for a number, as rotation gives it, and its compression; or if one goes on, of the same
// process, where the other ends.
std::vector<std::vector<JoinedLog::Part>> partsOfLogs(std::vector<JoinedLog::Part> files);

// Goes through all of it.
LogSpan spanOf(LineSource& lines);
