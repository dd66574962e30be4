#pragma once

#include <array>
#include <string>

#include "sensor/Sensor.h"
#include "thread/Worker.h"

class ScenarioThread;

// The worker of all sensors of one sampling period, and their side of a scenario change.
//
// Threads: the barrier's fields are written by the scenario thread without this worker's locks.
class SensorThread : public thermalThread<Sensor> {
public:
  using thermalThread<Sensor>::thermalThread;

  void operator()() override;

  // One sample of every active sensor. The thread body's pass; without a thread, a whole period's
  // work.
  void samplingPass();

  // The two steps of a scenario change between its barriers: every sensor takes `newScenName` and
  // one sample, and then lets the algorithms of the scenario before it go.
  void takeOverScenario();
  void leaveOldScenario();

  // Checks in with the scenario thread and stays until it lets go.
  void waitForScenThread(int index);

  // Drops what the sensors still hold of retired scenarios.
  void destroyOldScens();

  std::array<std::mutex, 2> handshakeMutex;
  // One per barrier, notified by the scenario thread once it has taken and left the mutex of the
  // same index: this worker holds that mutex from before it checks in until it waits.
  std::array<std::condition_variable, 2> handshakeCond;
  ScenarioThread* scenarioThread = nullptr;
  // Set and cleared by the scenario thread.
  std::atomic<bool> scenChangeRequested{false};
  // Written by the scenario thread while this worker waits at barrier 0.
  std::string newScenName;
  // Set by this worker, cleared by the scenario thread.
  std::atomic<bool> holdForScenThread{false};

private:
  void changeScenario();
};
