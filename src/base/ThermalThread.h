#pragma once

// A worker: one thread of the process with the items that it serves in a loop.
class ThermalThread {
public:
  virtual ~ThermalThread() = default;
  ThermalThread(const ThermalThread&) = delete;
  ThermalThread& operator=(const ThermalThread&) = delete;

  // Counts one more active item; the first wakes the worker.
  virtual void activate() = 0;
  // Counts one less; without any the worker sleeps from its next cycle on.
  virtual void deactivate() = 0;
  // The thread body.
  virtual void operator()() = 0;

protected:
  ThermalThread() = default;
};
