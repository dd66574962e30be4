#include "log/JoinedLog.h"

#include <algorithm>
#include <string>
#include <utility>

#include "text/Pattern.h"

// Files are parts of one log if their names are those of a rotation, if one process goes on in the
// next after a short pause, or if one dump begins inside of another. Files that were given in any
// order come out in the order of their times, and what two dumps have in common comes once.

namespace {

using Part = JoinedLog::Part;
using Parts = std::vector<Part>;

// As long as nobody starts a new log of the same daemon by hand.
constexpr int64_t kPause = 10000; // milliseconds
// A year that is not written has ended between two parts that are further apart.
constexpr int64_t kHalfAYear = int64_t{365} * 43200000;

// phone.log, phone.log.1 and phone.log.02.gz are one log.
struct RotatedName {
  std::string log;
  int number = 0; // the higher, the older
};

RotatedName rotated(const std::string& path) {
  static const Pattern kEnd(R"((\.([0-9]{1,3}))?(\.gz)?$)");
  const std::vector<std::string> end = *kEnd.find(path);
  return {path.substr(0, path.size() - end[0].size()), end[2].empty() ? 0 : std::stoi(end[2])};
}

bool goesOn(const LogSpan& later, const LogSpan& earlier) {
  if (!later.first || !earlier.last || later.pid != earlier.pid) return false;
  return *later.first >= *earlier.last && *later.first - *earlier.last <= kPause;
}

// A dump that begins in the middle of another one, and has its end, too.
bool overlaps(const Part& later, const Part& earlier) {
  const LogSpan& a = earlier.span;
  const LogSpan& b = later.span;
  if (!a.first || !b.first || *b.first <= *a.first || *b.first > *a.last || *b.last < *a.last)
    return false;
  later.file->rewind();
  std::string_view line;
  while (later.file->next(line)) {
    if (line == a.lastLine) return true;
  }
  return false;
}

bool areOneLog(const Part& a, const Part& b) {
  if (rotated(a.name).log == rotated(b.name).log && a.name != b.name) return true;
  return goesOn(a.span, b.span) || goesOn(b.span, a.span) || overlaps(a, b) || overlaps(b, a);
}

// To the log that it is a part of, or as one of its own.
void addToLogs(const Part& part, std::vector<Parts>& logs) {
  const auto isOfIt = [&part](const Parts& log) {
    return std::any_of(log.begin(), log.end(),
                       [&part](const Part& other) { return areOneLog(part, other); });
  };
  const auto first = std::find_if(logs.begin(), logs.end(), isOfIt);
  if (first == logs.end()) {
    logs.push_back({part});
    return;
  }
  first->push_back(part);
  // It may be what two of them have in common.
  for (auto other = first + 1; other != logs.end();) {
    if (isOfIt(*other)) {
      first->insert(first->end(), other->begin(), other->end());
      other = logs.erase(other);
    } else {
      ++other;
    }
  }
}

void sortByTime(Parts& parts) {
  int64_t latest = 0;
  for (const Part& part : parts)
    latest = std::max(latest, part.span.first.value_or(0));
  const auto isEarlier = [latest](const Part& a, const Part& b) {
    // Without times the names tell.
    if (!a.span.first || !b.span.first) return rotated(a.name).number > rotated(b.name).number;
    const auto begin = [latest](const Part& part) {
      const int64_t first = *part.span.first;
      // Without a year December counts as later than January: what lies more than half a year
      // before the latest is of the next year, and goes behind.
      return std::pair(latest - first > kHalfAYear, first);
    };
    return begin(a) < begin(b);
  };
  std::stable_sort(parts.begin(), parts.end(), isEarlier);
}

} // namespace

LogSpan spanOf(LineSource& lines) {
  LogSpan span;
  std::optional<LongHeader> longHeader;
  std::string_view line;
  for (lines.rewind(); lines.next(line);) {
    if (const auto found = parseLongHeader(line)) longHeader = found;
    const auto header = parseHeader(line);
    if (!header) continue;
    const auto time = header->time || !longHeader ? header->time : longHeader->time;
    if (!time) continue;
    if (!span.first) span.first = time->at;
    span.last = time->at;
    span.pid = header->pid != 0 || !longHeader ? header->pid : longHeader->pid;
    span.lastLine = line;
  }
  return span;
}

std::vector<Parts> partsOfLogs(Parts files) {
  std::vector<Parts> logs;
  if (files.size() > 1) {
    for (Part& part : files)
      part.span = spanOf(*part.file);
  }
  for (const Part& part : files)
    addToLogs(part, logs);
  for (Parts& parts : logs)
    sortByTime(parts);
  return logs;
}

void JoinedLog::rewind() {
  part = 0;
  given = 0;
  leavesOut = false;
  begun.assign(1, {});
  if (!parts.empty()) parts.front().file->rewind();
}

bool JoinedLog::next(std::string_view& line) {
  while (part < parts.size()) {
    if (!parts[part].file->next(line)) {
      if (++part == parts.size()) return false;
      parts[part].file->rewind();
      begun.push_back({given, 0});
      const LogSpan& earlier = parts[part - 1].span;
      leavesOut = earlier.last && parts[part].span.first &&
                  *parts[part].span.first <= *earlier.last &&
                  overlaps(parts[part], parts[part - 1]);
      parts[part].file->rewind();
    } else if (isTwice(line)) {
      ++begun.back().leftOut;
    } else {
      ++given;
      return true;
    }
  }
  return false;
}

// Up to and with the last line of the part before.
bool JoinedLog::isTwice(std::string_view line) {
  if (!leavesOut) return false;
  leavesOut = line != parts[part - 1].span.lastLine;
  return true;
}

std::string JoinedLog::placeOf(size_t line) const {
  size_t found = begun.size();
  while (found > 1 && begun[found - 1].before >= line)
    --found;
  const Begun& its = begun[found - 1];
  const std::string number = "line " + std::to_string(line - its.before + its.leftOut);
  return parts.size() > 1 ? number + " of " + parts[found - 1].name : number;
}
