#pragma once

#include <functional>

#include "sensor/Algo.h"

// An algorithm that only registers itself and counts what is asked of it.
class PlainAlgo : public Algo {
public:
  PlainAlgo(const std::string& name_, const std::string& scenario, int32_t start, Sensor& sensor_,
            ThermalThread& thread_, bool lowactive_ = false)
      : Algo(name_, 1000, lowactive_, &sensor_, &thread_) {
    watch(scenario, start, start);
  }
  int decision() override {
    ++decisions;
    return 0;
  }
  void activate() override {
    ++activations;
    onActivate();
    Algo::activate();
  }
  void deactivate() override {
    ++deactivations;
    Algo::deactivate();
  }

  int decisions = 0;
  int activations = 0;
  int deactivations = 0;
  std::function<void()> onActivate = [] {};
};
