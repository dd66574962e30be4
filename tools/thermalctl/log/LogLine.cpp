#include "log/LogLine.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <iterator>

#include "base/Messages.h"

namespace {

// The field that one part of a message fills, a name or a number.
struct Place {
  std::string_view LogLine::*name = nullptr;
  int32_t LogLine::*number = nullptr;
};

constexpr Place kNoPlace;
constexpr Place kName{&LogLine::name};
constexpr Place kSensor{&LogLine::sensor};
constexpr Place kScenario{&LogLine::scenario};
constexpr Place kTemperature{nullptr, &LogLine::temperature};
constexpr Place kBefore{nullptr, &LogLine::before};
constexpr Place kValue{nullptr, &LogLine::value};

// What a picture shows of a message: a place for each of the format's conversions.
struct Meaning {
  const char* format;
  LogLine::Kind kind;
  std::array<Place, 4> places = {};
};

using Kind = LogLine::Kind;

// Places stand in the order of the conversions in the daemon's own format, which is the pattern
// that a line is taken apart by: there is no second text to be kept in step.
// The frequent ones first.
constexpr Meaning kMeanings[] = {
    {message::kSample, Kind::kSample, {kName, kScenario, kValue}},
    {message::kVirtualSample, Kind::kVirtual, {kName, kValue}},
    {message::kMonitorDecision, Kind::kLevel, {kName, kTemperature, kBefore, kValue}},
    // Two of one beginning: a request gives the level asked for, the release behind it the number
    // of steps that it ends.
    {message::kStepRequest, Kind::kRequest, {kName, kNoPlace, kTemperature, kValue}},
    {message::kStepRelease, Kind::kReleased, {kName, kNoPlace, kTemperature, kBefore}},
    {message::kWoken, Kind::kWoken, {kSensor, kName, kScenario}},
    {message::kPutToSleep, Kind::kPutToSleep, {kSensor, kName, kScenario}},
    {message::kChangeBegins, Kind::kChange, {kScenario, kName}},
    {message::kChangeDone, Kind::kScenario, {kName}},
    {message::kStarting, Kind::kStart},
    {message::kSwapBegins, Kind::kSwap},
    {message::kSwapDone, Kind::kSwapDone},
};

// As it stands in a log, without the line feed.
std::string_view lineOf(const char* format) {
  std::string_view line = format;
  line.remove_suffix(1);
  return line;
}

// What stands in a format before its next conversion.
std::string_view literalOf(std::string_view format) {
  return format.substr(0, format.find('%'));
}

bool take(std::string_view& text, std::string_view expected) {
  if (text.substr(0, expected.size()) != expected) return false;
  text.remove_prefix(expected.size());
  return true;
}

// The name up to `end`, or all that is left where nothing follows. A name is one word: with a space
// in it, it would be two messages run together.
bool takeName(std::string_view& text, std::string_view end, std::string_view& name) {
  const size_t length = end.empty() ? text.size() : text.find(end);
  if (length == std::string_view::npos) return false;
  name = text.substr(0, length);
  text.remove_prefix(length);
  return name.find(' ') == std::string_view::npos;
}

bool takeNumber(std::string_view& text, int32_t& number) {
  const auto taken = std::from_chars(text.data(), text.data() + text.size(), number);
  text.remove_prefix(static_cast<size_t>(taken.ptr - text.data()));
  return taken.ec == std::errc();
}

// Takes a message apart by its own format, in which every conversion is a single letter.
bool scan(std::string_view text, const Meaning& meaning, LogLine& line) {
  // What stands between two conversions must be there as it is; a name goes up to what stands
  // behind it in the format, a number as far as its digits do.
  std::string_view format = lineOf(meaning.format);
  for (const Place& place : meaning.places) {
    const std::string_view literal = literalOf(format);
    if (!take(text, literal)) return false;
    format.remove_prefix(literal.size());
    if (format.empty()) break;
    const bool isName = format[1] == 's';
    format.remove_prefix(2);
    int32_t unwanted = 0;
    if (isName ? !takeName(text, literalOf(format), line.*place.name)
               : !takeNumber(text, place.number ? line.*place.number : unwanted))
      return false;
  }
  return text == format;
}

// A message that no picture shows: what varies in it may be any text.
bool isAround(std::string_view text, std::string_view format) {
  const std::string_view start = literalOf(format);
  if (start.size() == format.size()) return text == format;
  const std::string_view end = format.substr(format.rfind('%') + 2);
  return text.size() >= start.size() + end.size() && text.substr(0, start.size()) == start &&
         text.substr(text.size() - end.size()) == end;
}

bool isOther(std::string_view text, const char* format) {
  const bool hasMeaning =
      std::any_of(std::begin(kMeanings), std::end(kMeanings),
                  [format](const Meaning& meaning) { return meaning.format == format; });
  return !hasMeaning && isAround(text, lineOf(format));
}

} // namespace

std::optional<LogLine> parseMessage(std::string_view text) {
  for (const Meaning& meaning : kMeanings) {
    // A new one each time: one that does not fit in the end may have filled in a part.
    LogLine line;
    line.kind = meaning.kind;
    if (scan(text, meaning, line)) return line;
  }
  const bool isKnown = std::any_of(std::begin(message::kAll), std::end(message::kAll),
                                   [text](const char* format) { return isOther(text, format); });
  return isKnown ? std::optional(LogLine()) : std::nullopt;
}
