#pragma once

#include <string>

#include "sensor/Sensor.h"

// A sensor whose temperature is what the test says.
class FixedSensor : public Sensor {
public:
  explicit FixedSensor(const std::string& name_ = "sensor", ThermalThread* thread_ = nullptr)
      : Sensor(name_, 1000, thread_) {}
  void updateTemp() override { ++samples; }

  int samples = 0;
};
