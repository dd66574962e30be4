#pragma once

#include "algo/SS.h"
#include "thread/AlgoThread.h"

// The worker of the `SS` items of one scenario and sampling period.
class SSThread : public AlgoThread<SS> {
public:
  using AlgoThread<SS>::AlgoThread;
};
