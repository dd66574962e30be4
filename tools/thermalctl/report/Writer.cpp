#include "report/Writer.h"

#include <array>
#include <charconv>
#include <cstdlib>
#include <mutex>

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
  // The library asks the C library for its sign of the decimal point, and that keeps the answer in
  // one place for all threads.
  static std::mutex mutex;
  const std::lock_guard lock(mutex);
  return nlohmann::json(text).dump(-1, ' ', false, nlohmann::json::error_handler_t::replace);
}
