#include "terminal/ProgressLine.h"

#include <unistd.h>

#include <thread>

#include "text/Source.h"

namespace {

constexpr char kEraseLine[] = "\r\x1B[K";

} // namespace

ProgressLine::ProgressLine(int fileDescriptor)
    : fd(fileDescriptor), onTerminal(::isatty(fileDescriptor) == 1),
      start(std::chrono::steady_clock::now()) {}

ProgressLine::~ProgressLine() {
  if (!current.empty()) print(kEraseLine);
}

Waiting::Time ProgressLine::now() {
  return std::chrono::steady_clock::now();
}

void ProgressLine::pause(std::chrono::milliseconds time) {
  draw();
  std::this_thread::sleep_for(time);
}

void ProgressLine::stage(const std::string& what) {
  current = what;
  draw();
}

void ProgressLine::draw() {
  const auto seconds = std::chrono::duration_cast<std::chrono::seconds>(now() - start);
  print(kEraseLine + visible(current) + " ... " + std::to_string(seconds.count()) + " s");
}

void ProgressLine::print(const std::string& text) const {
  // What a terminal does not take is no loss.
  if (onTerminal && ::write(fd, text.data(), text.size()) < 0) return;
}
