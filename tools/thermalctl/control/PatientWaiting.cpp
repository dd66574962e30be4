#include "control/PatientWaiting.h"

#include <thread>

#include "text/Characters.h"

Waiting::Time PatientWaiting::now() {
  return std::chrono::steady_clock::now();
}

void PatientWaiting::pause(std::chrono::milliseconds time) {
  draw();
  std::this_thread::sleep_for(time);
}

void PatientWaiting::stage(const std::string& what) {
  current = what;
  draw();
}

void PatientWaiting::draw() {
  const auto seconds = std::chrono::duration_cast<std::chrono::seconds>(now() - start);
  line.show(visible(current) + " ... " + std::to_string(seconds.count()) + " s");
}
