#include "log/LogTime.h"

#include <date/date.h>

namespace {

constexpr int64_t kDay = 86400 * kSecond;
// A common one, since a year that is not written is taken for one.
constexpr int64_t kYear = 365 * kDay;
constexpr int kCommonYear = 2001;
// Threads write their lines a little out of order.
constexpr int64_t kDisorder = kSecond;
// Nobody keeps a log that is silent for so long: the clock was set.
constexpr int64_t kLongestGap = 30 * kDay;

constexpr bool isDigit(char character) {
  return character >= '0' && character <= '9';
}

// A number of exactly `count` digits at `at`, or -1.
int64_t digits(std::string_view text, size_t at, size_t count) {
  if (at + count > text.size()) return -1;
  int64_t number = 0;
  for (size_t i = at; i < at + count; ++i) {
    if (!isDigit(text[i])) return -1;
    number = 10 * number + (text[i] - '0');
  }
  return number;
}

// The first three digits behind the point.
int64_t milliseconds(std::string_view text, size_t at) {
  return at < text.size() && text[at] == '.' ? digits(text, at + 1, 3) : -1;
}

// "MM-DD hh:mm:ss"
std::optional<int64_t> parseSecond(std::string_view text, int64_t year) {
  if (text.size() < 14 || text[2] != '-' || text[5] != ' ' || text[8] != ':' || text[11] != ':')
    return std::nullopt;
  const int64_t month = digits(text, 0, 2);
  const int64_t day = digits(text, 3, 2);
  const int64_t hour = digits(text, 6, 2);
  const int64_t minute = digits(text, 9, 2);
  const int64_t second = digits(text, 12, 2);
  if (month < 1 || month > 12 || day < 1 || hour < 0 || minute < 0 || second < 0)
    return std::nullopt;
  const date::sys_days midnight =
      date::year(static_cast<int>(year)) / static_cast<int>(month) / static_cast<int>(day);
  return midnight.time_since_epoch().count() * kDay +
         ((hour * 60 + minute) * 60 + second) * kSecond;
}

// How far ahead of the time of all zones a clock is, from what stands behind a time: " +0130".
int64_t parseZone(std::string_view text) {
  if (text.size() < 6 || text[0] != ' ' || (text[1] != '+' && text[1] != '-')) return 0;
  const int64_t hours = digits(text, 2, 2);
  const int64_t minutes = digits(text, 4, 2);
  if (hours < 0 || minutes < 0) return 0;
  return (text[1] == '-' ? -1 : 1) * (hours * 60 + minutes) * 60 * kSecond;
}

// "MM-DD hh:mm:ss.fff", with further digits and a zone behind it.
std::optional<int64_t> parseDate(std::string_view text, int64_t year) {
  const auto second = parseSecond(text, year);
  const int64_t fraction = milliseconds(text, 14);
  if (!second || fraction < 0) return std::nullopt;
  size_t end = 15;
  while (end < text.size() && isDigit(text[end]))
    ++end;
  return *second + fraction - parseZone(text.substr(end));
}

// "123.456"
std::optional<int64_t> parseSeconds(std::string_view text) {
  size_t length = 0;
  // Twelve digits are seconds of some 30,000 years, and leave room for the thousandfold.
  while (length < text.size() && length < 12 && isDigit(text[length]))
    ++length;
  const int64_t fraction = milliseconds(text, length);
  if (length == 0 || fraction < 0) return std::nullopt;
  return digits(text, 0, length) * kSecond + fraction;
}

} // namespace

std::optional<int64_t> parseTime(std::string_view line) {
  // The long format's header stands in brackets.
  if (!line.empty() && line.front() == '[') line.remove_prefix(1);
  const size_t start = line.find_first_not_of(' ');
  if (start == std::string_view::npos) return std::nullopt;
  line.remove_prefix(start);
  // Without a year the 29th of February falls together with the 1st of March. Counted as a day of
  // its own it would put a day that never was into every common year.
  if (line.size() > 2 && line[2] == '-') return parseDate(line, kCommonYear);
  if (line.size() > 4 && line[4] == '-') {
    const int64_t year = digits(line, 0, 4);
    return year < 1 ? std::nullopt : parseDate(line.substr(5), year);
  }
  return parseSeconds(line);
}

std::optional<WrittenTime> parseWholeSeconds(std::string_view text) {
  const auto second = parseSecond(text, kCommonYear);
  if (!second || (text.size() > 14 && text[14] != ' ')) return std::nullopt;
  return WrittenTime{*second, true};
}

int64_t LogClock::at(int64_t written) {
  if (!running) {
    running = true;
    offset = -written;
  }
  int64_t time = written + offset;
  if (time < last && last - time > kYear / 2) {
    // A new year, which is not written.
    offset += kYear;
    time += kYear;
  }
  // What was set is taken out: the time goes on from the last line, and whatever is behind it moves
  // along.
  if (time < last - kDisorder || time > last + kLongestGap) {
    ++setCount;
    offset += last - time;
    time = last;
  }
  return last = time < last ? last : time;
}
