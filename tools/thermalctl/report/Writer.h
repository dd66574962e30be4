#pragma once

#include <cstdint>
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
  explicit Writer(std::ostream& out_) : out(out_) {}
  ~Writer() { flush(); }
  Writer(const Writer&) = delete;
  Writer& operator=(const Writer&) = delete;

  Writer& operator<<(std::string_view text) {
    block.append(text);
    if (block.size() >= kBlock) flush();
    return *this;
  }
  Writer& operator<<(int64_t number);
  void flush();

private:
  // Bytes.
  static constexpr size_t kBlock = 1 << 16;

  std::ostream& out;
  std::string block;
};

// `text` as a JSON string, quotes included. Bytes that are not UTF-8 are replaced.
std::string jsonString(const std::string& text);
