#pragma once

#include <atomic>
#include <thread>

#include "sensor/Sensor.h"
#include "support/Eventually.h"
#include "thread/SensorThread.h"

// The thread of a worker of algorithms, ended with the scope.
template <typename Worker> class RunningAlgoThread {
public:
  explicit RunningAlgoThread(Worker& worker_) : worker(worker_) {
    thread = std::thread([this] {
      worker();
      ended = true;
    });
  }
  ~RunningAlgoThread() {
    worker.stopRequested = true;
    awaitEnd();
    thread.join();
  }
  RunningAlgoThread(const RunningAlgoThread&) = delete;
  RunningAlgoThread& operator=(const RunningAlgoThread&) = delete;

  bool hasEnded() const { return ended; }

private:
  void awaitEnd() {
    const auto wakeUntilEnded = [this] {
      worker.sleepCond.notify_one();
      worker.activateCond.notify_one();
      return ended.load();
    };
    eventuallyOrAbort(wakeUntilEnded, "the end of an algorithm worker");
  }

  Worker& worker;
  std::atomic<bool> ended{false};
  std::thread thread;
};

// Ends the endless body of a `SensorThread` by an exception out of its sample. The last of the
// worker's sensors, owned by whoever owns the others.
class EndingSensor : public Sensor {
public:
  struct End {};

  explicit EndingSensor(SensorThread& worker) : Sensor("end", 1000, &worker) {}
  void updateTemp() override { throw End{}; }
};

// The thread of a `SensorThread`, ended with the scope.
class RunningSensorThread {
public:
  RunningSensorThread(SensorThread& worker_, EndingSensor& last_) : worker(worker_), last(last_) {
    worker.insert(&last);
    worker.started = true;
    thread = std::thread([this] {
      try {
        worker();
      } catch (const EndingSensor::End&) {
        ended = true;
      }
    });
  }
  ~RunningSensorThread() {
    last.activate();
    const auto wakeUntilEnded = [this] {
      worker.sleepCond.notify_one();
      return ended.load();
    };
    eventuallyOrAbort(wakeUntilEnded, "the end of a sensor thread");
    thread.join();
  }
  RunningSensorThread(const RunningSensorThread&) = delete;
  RunningSensorThread& operator=(const RunningSensorThread&) = delete;

private:
  SensorThread& worker;
  EndingSensor& last;
  std::atomic<bool> ended{false};
  std::thread thread;
};
