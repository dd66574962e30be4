#include "sensor/Algo.h"

#include "base/Int32.h"
#include "base/ThermalThread.h"
#include "sensor/Sensor.h"

Algo::Algo(const std::string& name_, uint32_t sampling_, bool lowactive_, Sensor* sensor_,
           ThermalThread* thread_)
    : sampling(sampling_), sensor(sensor_), thread(thread_), lowactive(lowactive_) {
  name = name_;
}

void Algo::watch(const std::string& scenarioName, int32_t start, int32_t clear) {
  startTemp = storedTemp(start);
  clearTemp = storedTemp(clear);
  sensor->insertAlgoItems(this, scenarioName);
}

int32_t Algo::readTemp() const {
  return storedTemp(sensor->temperature);
}

int32_t Algo::storedTemp(int32_t configured) const {
  return lowactive ? wrapNegate(configured) : configured;
}

void Algo::activate() {
  active = true;
  thread->activate();
}

void Algo::deactivate() {
  fallAsleep();
}

void Algo::fallAsleep() {
  // The sensor's thread and the algorithm's own may both get here for one activation; only one may
  // lower the count.
  if (active.exchange(false)) thread->deactivate();
}
