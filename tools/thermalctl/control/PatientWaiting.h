#pragma once

#include "control/Waiting.h"
#include "terminal/ProgressLine.h"

// Waits in real time. On a terminal, a line tells for what and for how long.
//
// Units:   the seconds shown are those since the start of the whole wait, not of its stage.
// Threads: `pause` puts the calling thread to sleep.
class PatientWaiting : public Waiting {
public:
  explicit PatientWaiting(int fileDescriptor) : line(fileDescriptor) {}

  Time now() override;
  void pause(std::chrono::milliseconds time, int descriptor = kNothing) override;
  void stage(const std::string& what) override;

private:
  void draw();

  ProgressLine line;
  const Time start = std::chrono::steady_clock::now();
  std::string current;
};
