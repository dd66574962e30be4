#include "terminal/ProgressLine.h"

#include <unistd.h>

namespace {

constexpr char kEraseLine[] = "\r\x1B[K";

} // namespace

ProgressLine::ProgressLine(int fileDescriptor)
    : fd(fileDescriptor), onTerminal(::isatty(fileDescriptor) == 1) {}

void ProgressLine::show(const std::string& text) {
  print(kEraseLine + text);
  drawn = true;
}

void ProgressLine::clear() {
  if (drawn) print(kEraseLine);
  drawn = false;
}

void ProgressLine::print(const std::string& text) const {
  // What a terminal does not take is no loss.
  if (onTerminal && ::write(fd, text.data(), text.size()) < 0) return;
}
