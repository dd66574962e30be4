#pragma once

#include <array>
#include <cstdint>
#include <streambuf>
#include <string_view>

// What a node shows, for the stream that reads it: made anew at each seek to its start, as a driver
// makes it.
//
// Shape: of a text at most 12 characters; the longest number has 11.
class NodeText : public std::streambuf {
public:
  void show(std::string_view word);
  void show(int32_t number);

protected:
  // Whatever the position: the daemon only ever goes back to the start.
  pos_type seekpos(pos_type position, std::ios_base::openmode which) override;

private:
  std::array<char, 12> text;
  size_t length = 0;
};
