#include "report/Writer.h"

#include <array>
#include <charconv>
#include <cstdlib>

#include <nlohmann/json.hpp>

Writer& Writer::operator<<(int64_t number) {
  std::array<char, 24> digits;
  const auto written = std::to_chars(digits.data(), digits.data() + digits.size(), number);
  return *this << std::string_view(digits.data(), static_cast<size_t>(written.ptr - digits.data()));
}

void Writer::flush() {
  out.write(block.data(), static_cast<std::streamsize>(block.size()));
  block.clear();
}

std::string jsonString(const std::string& text) {
  return nlohmann::json(text).dump(-1, ' ', false, nlohmann::json::error_handler_t::replace);
}

std::string csvField(const std::string& text) {
  if (text.find_first_of(",\"\r\n") == std::string::npos) return text;
  std::string quoted = "\"";
  for (const char character : text) {
    if (character == '"') quoted += '"';
    quoted += character;
  }
  return quoted + '"';
}

std::string degrees(int32_t millidegrees) {
  const int64_t amount = std::abs(static_cast<int64_t>(millidegrees));
  std::string fraction = std::to_string(1000 + amount % 1000).substr(1);
  fraction.erase(fraction.find_last_not_of('0') + 1);
  return (millidegrees < 0 ? "-" : "") + std::to_string(amount / 1000) +
         (fraction.empty() ? "" : "." + fraction);
}
