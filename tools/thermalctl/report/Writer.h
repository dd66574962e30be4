#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <ostream>
#include <string>
#include <string_view>

// Puts text together in a block of its own before the stream sees it: traces have millions of short
// pieces.
//
// Shape:  what is in the block reaches the stream when it is full, by `flush`, or at the end of the
//         scope.
// Errors: left in the stream, which must outlive this.
class Writer {
public:
  explicit Writer(std::ostream& out_) : out(out_), block(kBlock, '\0') {}
  ~Writer() { flush(); }
  Writer(const Writer&) = delete;
  Writer& operator=(const Writer&) = delete;

  Writer& operator<<(std::string_view text) {
    if (text.size() > kBlock - used) flush();
    if (text.size() > kBlock) {
      out.write(text.data(), static_cast<std::streamsize>(text.size()));
      return *this;
    }
    std::memcpy(block.data() + used, text.data(), text.size());
    used += text.size();
    return *this;
  }
  Writer& operator<<(int64_t number);
  // Of thousandths, without zeros at the end: -500 is -0.5.
  Writer& decimal(int64_t thousandths);
  void flush();

private:
  // Bytes.
  static constexpr size_t kBlock = 1 << 16;

  // Where a number may be written.
  char* roomForNumber();

  std::ostream& out;
  std::string block;
  size_t used = 0; // of it
};

// A number as text, kept while the same one comes again: much happens at one time.
class NumberText {
public:
  std::string_view of(int64_t number) {
    if (length == 0 || number != known) make(number);
    return {text.data(), length};
  }

private:
  void make(int64_t number);

  std::array<char, 20> text{}; // the longest number has as many
  size_t length = 0;
  int64_t known = 0;
};

// `text` as a JSON string, quotes included. Bytes that are not UTF-8 are replaced.
std::string jsonString(const std::string& text);
