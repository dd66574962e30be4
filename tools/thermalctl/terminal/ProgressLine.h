#pragma once

#include "control/Waiting.h"

// Waits in real time. On a terminal, a line tells for what and for how long; it is gone with the
// scope.
class ProgressLine : public Waiting {
public:
  explicit ProgressLine(int fileDescriptor);
  ~ProgressLine() override;
  ProgressLine(const ProgressLine&) = delete;
  ProgressLine& operator=(const ProgressLine&) = delete;

  Time now() override;
  void pause(std::chrono::milliseconds time) override;
  void stage(const std::string& what) override;

private:
  void draw();
  void print(const std::string& text) const;

  const int fd;
  const bool onTerminal;
  const Time start;
  std::string current;
};
