#include "log/LogReader.h"

#include <algorithm>

#include "base/Log.h"

namespace {

constexpr std::string_view kTag = kLogTag;
constexpr std::string_view kMessageStart = message::kStart;

bool beginsWith(std::string_view text, std::string_view start) {
  return text.substr(0, start.size()) == start;
}

bool endsWith(std::string_view text, std::string_view end) {
  return text.size() >= end.size() && text.substr(text.size() - end.size()) == end;
}

// Where the message begins behind a header of one line with the daemon's priority and tag, such as
// "V/echo-service( 1234): ", "V/echo-service: " or "... V echo-service: ". Others may name the
// daemon in their messages.
size_t messageAfterTag(std::string_view text) {
  const size_t tag = text.find(kTag);
  if (tag == std::string_view::npos || tag < 2) return std::string_view::npos;
  // The daemon logs everything at one priority, verbose.
  const std::string_view priority = text.substr(tag - 2, 2);
  if (priority != "V/" && priority != "V ") return std::string_view::npos;
  const size_t end = text.find(": ", tag + kTag.size());
  return end == std::string_view::npos ? text.size() : end + 2;
}

// The header of a message in the "long" format: "[ 01-30 14:03:22.123  1234: 5678 V/tag ]".
bool isLongHeader(std::string_view text) {
  return beginsWith(text, "[ ") && endsWith(text, " ]") && parseTime(text);
}

} // namespace

LogReader::LogReader(std::string_view text, const Periods& periods_)
    : rest(text), periods(periods_) {}

std::optional<LogLine> LogReader::next() {
  while (!rest.empty()) {
    if (const auto line = parse(nextText())) {
      ++seen.ours;
      return line;
    }
  }
  seen.clockSet = clock.timesSet();
  return std::nullopt;
}

std::string_view LogReader::nextText() {
  const size_t end = rest.find('\n');
  std::string_view text = rest.substr(0, end);
  rest.remove_prefix(end == std::string_view::npos ? rest.size() : end + 1);
  ++seen.lines;
  if (endsWith(text, "\r")) text.remove_suffix(1);
  return text;
}

std::optional<LogLine> LogReader::parse(std::string_view text) {
  if (isLongHeader(text)) {
    headerTime = parseTime(text);
    // Holds for all lines up to the next header: logcat puts a blank line behind each message.
    headerIsOurs = text.find(kTag) != std::string_view::npos;
    return std::nullopt;
  }
  const bool bare = beginsWith(text, kMessageStart);
  const size_t start = bare ? 0 : messageAfterTag(text);
  if (start == std::string_view::npos || (bare && headerTime && !headerIsOurs)) return std::nullopt;
  const std::string_view message = text.substr(start);
  // Any program may bear the tag; a message that is cut off early may still be the daemon's.
  const size_t common = std::min(message.size(), kMessageStart.size());
  if (message.substr(0, common) != kMessageStart.substr(0, common)) return std::nullopt;
  const auto line = parseMessage(message);
  if (!line) return torn();
  setTime(bare ? headerTime : parseTime(text), *line);
  return line;
}

std::optional<LogLine> LogReader::torn() {
  if (seen.torn++ == 0) seen.firstTorn = seen.lines;
  return std::nullopt;
}

void LogReader::setTime(const std::optional<int64_t>& written, const LogLine& line) {
  if (written) {
    now = clock.at(*written);
    return;
  }
  ++seen.withoutTime;
  // Sensors of different periods count on their own, and each counts from 0: whoever is behind the
  // others must not turn the time back. What is no sample has the time of the one before it.
  if (line.kind == LogLine::Kind::kSample) now = std::max(now, timeOfSample(line));
}

int64_t LogReader::timeOfSample(const LogLine& line) {
  const auto period = periods.find(line.name);
  if (period == periods.end()) return 0;
  auto count = samples.find(line.name);
  if (count == samples.end()) count = samples.emplace(line.name, 0).first;
  return period->second * count->second++;
}
