#include "log/LogHeader.h"

#include <algorithm>
#include <charconv>
#include <string>

#include "base/Log.h"
#include "text/Affixes.h"

namespace {

constexpr std::string_view kTag = kLogTag;
constexpr std::string_view kMessageStart = message::kStart;
constexpr std::string_view kDigits = "0123456789";
constexpr size_t kNowhere = std::string_view::npos;

void skipSpaces(std::string_view& text) {
  text.remove_prefix(std::min(text.find_first_not_of(' '), text.size()));
}

int32_t numberAt(std::string_view text) {
  int32_t number = 0;
  std::from_chars(text.data(), text.data() + text.size(), number);
  return number;
}

// Of numbers that stand one behind the other, with spaces or a colon between them, the one before
// the last; the only one of one. A text without any gives 0.
int32_t pidAtEnd(std::string_view text, size_t wanted) {
  int32_t pid = 0;
  for (size_t found = 0; found < wanted; ++found) {
    const size_t end = text.find_last_not_of(" :");
    if (end == kNowhere) break;
    text = text.substr(0, end + 1);
    const size_t before = text.find_last_not_of(kDigits);
    const size_t start = before == kNowhere ? 0 : before + 1;
    if (start > end) break;
    pid = numberAt(text.substr(start));
    text = text.substr(0, start);
  }
  return pid;
}

// liblog on a host: "tag V 01-30 14:03:22  1234  5678 message", with whatever a journal puts before
// it. `rest` is what comes behind the tag.
std::optional<LogHeader> hostHeader(std::string_view rest) {
  constexpr std::string_view kPriority = " V ";
  if (!startsWith(rest, kPriority)) return std::nullopt;
  rest.remove_prefix(kPriority.size());
  const auto time = parseWholeSeconds(rest);
  if (!time) return std::nullopt;
  LogHeader header;
  header.time = time;
  rest.remove_prefix(rest.find(' ') + 1);
  rest.remove_prefix(std::min(rest.find(' '), rest.size()));
  skipSpaces(rest);
  header.pid = numberAt(rest);
  for (int number = 0; number < 2; ++number) {
    skipSpaces(rest);
    rest.remove_prefix(std::min(rest.find_first_not_of(kDigits), rest.size()));
  }
  skipSpaces(rest);
  header.message = rest;
  return header;
}

// Where the message begins behind a tag: "( 1234): ", "(root: 1234): ", ": " or "     : ".
// Elsewhere for somebody's whose tag only begins with the daemon's.
size_t afterTag(std::string_view rest) {
  if (startsWith(rest, "(")) {
    const size_t end = rest.find(')');
    if (end == kNowhere) return rest.size();
    return std::min(end + std::string_view("): ").size(), rest.size());
  }
  const size_t end = rest.find_first_not_of(' ');
  if (end == kNowhere) return rest.size();
  return rest[end] == ':' ? std::min(end + 2, rest.size()) : kNowhere;
}

// Brief, tag, time and threadtime: "... V/tag( 1234): " or "... 1234  5678 V tag: ".
std::optional<LogHeader> taggedHeader(std::string_view line, size_t tag) {
  // The daemon logs everything at one priority, verbose.
  const std::string_view priority = tag < 2 ? "" : line.substr(tag - 2, 2);
  if (priority != "V/" && priority != "V ") return std::nullopt;
  const std::string_view rest = line.substr(tag + kTag.size());
  const size_t start = afterTag(rest);
  if (start == kNowhere) return std::nullopt;
  LogHeader header;
  header.message = rest.substr(start);
  if (const auto time = parseTime(line)) header.time = WrittenTime{*time};
  if (startsWith(rest, "("))
    header.pid = pidAtEnd(rest.substr(1, std::max<size_t>(rest.find(')'), 1) - 1), 1);
  else if (priority == "V ")
    header.pid = pidAtEnd(line.substr(0, tag - 2), 2);
  return header;
}

// Process and thread: "V( 1234) message  (tag)" and "V( 1234: 5678) message", of which the latter
// names no tag.
std::optional<LogHeader> processHeader(std::string_view line) {
  const size_t end = line.find(") ");
  if (!startsWith(line, "V(") || end == kNowhere) return std::nullopt;
  LogHeader header;
  header.message = line.substr(end + 2);
  const std::string_view ids = line.substr(2, end - 2);
  const size_t colon = ids.rfind(':');
  const bool hasThread = colon != kNowhere && ids.find_first_not_of(" :0123456789") == kNowhere;
  header.pid = pidAtEnd(ids, hasThread ? 2 : 1);
  const std::string suffix = "  (" + std::string(kTag) + ")";
  if (endsWith(header.message, suffix)) header.message.remove_suffix(suffix.size());
  if (!beginsMessage(header.message)) return std::nullopt;
  return header;
}

} // namespace

bool beginsMessage(std::string_view text) {
  return startsWith(kMessageStart, text.substr(0, kMessageStart.size()));
}

std::optional<LogHeader> parseHeader(std::string_view line) {
  if (startsWith(line, kMessageStart)) return LogHeader{line, std::nullopt, 0};
  if (const auto header = processHeader(line)) return header;
  const size_t tag = line.find(kTag);
  if (tag == kNowhere) return std::nullopt;
  auto header = hostHeader(line.substr(tag + kTag.size()));
  if (!header) header = taggedHeader(line, tag);
  // Any program may bear the tag; a message that is cut off early may still be the daemon's.
  return header && beginsMessage(header->message) ? header : std::nullopt;
}

std::optional<LongHeader> parseLongHeader(std::string_view line) {
  if (!startsWith(line, "[ ") || !endsWith(line, " ]")) return std::nullopt;
  const auto time = parseTime(line);
  if (!time) return std::nullopt;
  const size_t tag = line.find(kTag);
  const bool isOurs = tag != kNowhere && tag >= 2 && line.substr(tag - 2, 2) == "V/" &&
                      startsWith(line.substr(tag + kTag.size()), " ");
  const int32_t pid = isOurs ? pidAtEnd(line.substr(0, tag - 2), 2) : 0;
  return LongHeader{WrittenTime{*time}, isOurs, pid};
}
