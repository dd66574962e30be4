#pragma once

#include "base/ThermalThread.h"

// A worker that only counts what is asked of it.
class CountingThread : public ThermalThread {
public:
  void activate() override { ++activations; }
  void deactivate() override { ++deactivations; }
  void operator()() override {}

  int activations = 0;
  int deactivations = 0;
};
