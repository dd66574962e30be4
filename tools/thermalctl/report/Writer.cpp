#include "report/Writer.h"

#include <charconv>
#include <cstdlib>
#include <mutex>

#include <nlohmann/json.hpp>

#include "text/Json.h"

namespace {

// Of the longest number, its sign, point and thousandths included.
constexpr size_t kLongest = 32;

} // namespace

char* Writer::roomForNumber() {
  if (kBlock - used < kLongest) flush();
  return block.data() + used;
}

Writer& Writer::operator<<(int64_t number) {
  char* const first = roomForNumber();
  used += static_cast<size_t>(std::to_chars(first, first + kLongest, number).ptr - first);
  return *this;
}

Writer& Writer::decimal(int64_t thousandths) {
  if (thousandths < 0) *this << "-";
  const uint64_t size =
      thousandths < 0 ? 0 - static_cast<uint64_t>(thousandths) : static_cast<uint64_t>(thousandths);
  char* const first = roomForNumber();
  char* end = std::to_chars(first, first + kLongest, size / 1000).ptr;
  if (const uint64_t rest = size % 1000) {
    *end++ = '.';
    *end++ = static_cast<char>('0' + rest / 100);
    if (rest % 100 > 0) *end++ = static_cast<char>('0' + rest / 10 % 10);
    if (rest % 10 > 0) *end++ = static_cast<char>('0' + rest % 10);
  }
  used += static_cast<size_t>(end - first);
  return *this;
}

void Writer::flush() {
  out.write(block.data(), static_cast<std::streamsize>(used));
  used = 0;
}

void NumberText::make(int64_t number) {
  length = static_cast<size_t>(std::to_chars(text.data(), text.data() + text.size(), number).ptr -
                               text.data());
  known = number;
}

std::string jsonString(const std::string& text) {
  // The library asks the C library for its sign of the decimal point, and that keeps the answer in
  // one place for all threads.
  static std::mutex mutex;
  const std::lock_guard lock(mutex);
  return jsonText(text);
}
