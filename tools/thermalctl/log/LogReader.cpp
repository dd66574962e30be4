#include "log/LogReader.h"

#include <algorithm>

LogReader::LogReader(LineSource& source_, const Periods& periods)
    : source(source_), samples(periods) {
  source.rewind();
}

std::optional<LogLine> LogReader::next() {
  std::string_view text;
  while (source.next(text)) {
    ++seen.lines;
    if (const auto line = parse(text)) {
      ++seen.ours;
      return line;
    }
  }
  seen.clockSet = clock.timesSet();
  return std::nullopt;
}

std::optional<LogLine> LogReader::parse(std::string_view text) {
  if (const auto header = parseLongHeader(text)) {
    longHeader = header;
    return std::nullopt;
  }
  const auto header = parseHeader(text);
  if (!header) return std::nullopt;
  const bool isBare = header->message.size() == text.size();
  // What follows somebody else's header is his.
  if (isBare && longHeader && !longHeader->isOurs) return std::nullopt;
  const auto line = parseMessage(header->message);
  if (!line) return torn();
  setTime(isBare && longHeader ? longHeader->time : header->time, *line);
  return line;
}

std::optional<LogLine> LogReader::torn() {
  if (seen.torn++ == 0) seen.firstTorn = seen.lines;
  return std::nullopt;
}

void LogReader::setTime(const std::optional<WrittenTime>& written, const LogLine& line) {
  precision.reset();
  if (!written) {
    ++seen.withoutTime;
    now = std::max(now, samples.at(line));
    return;
  }
  precision = written->wholeSeconds ? kSecond : 0;
  const int64_t at = clock.at(written->at);
  now = std::max(now, written->wholeSeconds ? samples.within(at, line) : at);
}
