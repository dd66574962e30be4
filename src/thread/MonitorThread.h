#pragma once

#include "algo/Monitor.h"
#include "thread/AlgoThread.h"

// The worker of the `Monitor` items of one scenario and sampling period.
class MonitorThread : public AlgoThread<Monitor> {
public:
  using AlgoThread<Monitor>::AlgoThread;
};
