#include "support/Parts.h"

#include <iterator>
#include <sstream>

std::vector<std::string> partsOf(const uint8_t* data, size_t size, size_t least) {
  const std::string input(reinterpret_cast<const char*>(data), size);
  std::vector<std::string> parts(1);
  for (const std::string& line : linesOf(input)) {
    if (line == "----")
      parts.emplace_back();
    else
      parts.back().append(line).append("\n");
  }
  // A last line without a line feed stays without one.
  if (!parts.back().empty() && input.back() != '\n') parts.back().pop_back();
  if (parts.size() < least) parts.resize(least);
  return parts;
}

std::vector<std::string> linesOf(const std::string& text) {
  std::istringstream in(text);
  std::vector<std::string> lines;
  for (std::string line; std::getline(in, line);)
    lines.push_back(line);
  return lines;
}

std::vector<std::string> wordsOf(const std::string& text) {
  std::istringstream in(text);
  return {std::istream_iterator<std::string>(in), std::istream_iterator<std::string>()};
}
