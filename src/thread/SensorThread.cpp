#include "thread/SensorThread.h"

#include <typeinfo>

#include "base/Log.h"
#include "sensor/Real.h"
#include "thread/ScenarioThread.h"

namespace {

void sample(Sensor& sensor) {
  if (!sensor.active) return;
  sensor.updateTemp();
  sensor.traversItems();
  if (typeid(sensor) == typeid(Real)) static_cast<Real&>(sensor).updateVirtualSensors();
}

} // namespace

void SensorThread::operator()() {
  std::unique_lock<std::mutex> loopLock(loopMutex);
  std::unique_lock<std::mutex> sleepLock(sleepMutex);
  for (;;) {
    waitUntilActive(loopLock);
    if (scenChangeRequested) changeScenario();
    samplingPass();
    waitForPeriod(sleepLock);
  }
}

void SensorThread::samplingPass() {
  items.walk(sample);
}

void SensorThread::changeScenario() {
  holdForScenThread = true;
  waitForScenThread(0);
  // Raised again before checking in for the second time: the scenario thread clears it only after
  // that.
  holdForScenThread = true;
  takeOverScenario();
  waitForScenThread(1);
  leaveOldScenario();
  // Before the last check-in, so that the line stands ahead of the scenario thread's own word that
  // all are done.
  LOG_LINE(message::kSensorThreadChanged, newScenName.c_str());
  scenarioThread->checkIn();
}

void SensorThread::takeOverScenario() {
  items.walk([this](Sensor& sensor) {
    sensor.changeScenario(newScenName);
    sample(sensor);
  });
}

void SensorThread::leaveOldScenario() {
  items.walk([](Sensor& sensor) {
    sensor.deactivateOldScen();
    sensor.oldScenario = sensor.scenario;
  });
}

void SensorThread::waitForScenThread(int index) {
  const auto barrier = static_cast<size_t>(index);
  std::unique_lock<std::mutex> lock(handshakeMutex[barrier]);
  scenarioThread->checkIn();
  while (holdForScenThread)
    handshakeCond[barrier].wait(lock);
}

void SensorThread::destroyOldScens() {
  for (Sensor* sensor : items)
    sensor->destroyOldScens();
}
