#include "control/PatientWaiting.h"

#include <poll.h>

#include "text/Characters.h"

Waiting::Time PatientWaiting::now() {
  return std::chrono::steady_clock::now();
}

void PatientWaiting::pause(std::chrono::milliseconds time, int descriptor) {
  draw();
  // One that is kNothing is passed over.
  pollfd ready = {descriptor, POLLIN, 0};
  ::poll(&ready, 1, static_cast<int>(time.count()));
}

void PatientWaiting::stage(const std::string& what) {
  current = what;
  draw();
}

void PatientWaiting::draw() {
  const auto seconds = std::chrono::duration_cast<std::chrono::seconds>(now() - start);
  line.show(visible(current) + " ... " + std::to_string(seconds.count()) + " s");
}
