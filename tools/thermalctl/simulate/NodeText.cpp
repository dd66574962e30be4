#include "simulate/NodeText.h"

#include <charconv>

void NodeText::show(std::string_view word) {
  length = word.copy(text.data(), text.size());
}

void NodeText::show(int32_t number) {
  const auto end = std::to_chars(text.data(), text.data() + text.size(), number).ptr;
  length = static_cast<size_t>(end - text.data());
}

NodeText::pos_type NodeText::seekpos(pos_type, std::ios_base::openmode) {
  setg(text.data(), text.data(), text.data() + length);
  return 0;
}
