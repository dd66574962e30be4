#include <benchmark/benchmark.h>

#include "algo/Monitor.h"
#include "algo/SS.h"
#include "device/Device.h"
#include "support/CountingThread.h"
#include "support/FixedSensor.h"
#include "support/LogSwitchedOff.h"
#include "support/SysfsDir.h"

namespace {

// One device with an item of each kind, both awake at their first level or step.
struct Scene {
  Scene() {
    sensor.temperature = 52000;
    monitor.activate();
    monitor.decision();
    ss.activate();
    ss.decision();
  }

  LogSwitchedOff quiet;
  SysfsDir sysfs;
  FixedSensor sensor;
  CountingThread worker;
  Device monitored{"monitored", sysfs.node("monitored"), "integer", {"30", "20", "10", "0"}};
  Device stepped{"stepped", sysfs.node("stepped"), "integer", {"30", "20", "10", "0"}};
  Monitor monitor{"monitor",  1000,           50000,
                  45000,      "Default",      false,
                  &sensor,    &worker,        {{&monitored}, {&monitored}},
                  {{1}, {2}}, {50000, 60000}, {45000, 55000}};
  SS ss{"ss", 1000, 52000, 45000, 1, "Default", false, &sensor, &worker, &stepped, 3, 0};
};

void decideAtSteadyTemperature(benchmark::State& state, Scene& scene, Algo& algo, Device& device) {
  for (auto _ : state)
    algo.decision();
  if (scene.worker.deactivations != 0 || device.currentLevel != 1)
    state.SkipWithError("the device moved");
}

// Up and down by one level in turn: every decision writes the node.
void decideBetween(benchmark::State& state, Scene& scene, Algo& algo, int32_t warm, int32_t hot) {
  for (auto _ : state) {
    scene.sensor.temperature = scene.sensor.temperature == hot ? warm : hot;
    algo.decision();
  }
  if (scene.worker.deactivations != 0) state.SkipWithError("the algorithm fell asleep");
}

void monitorDecisionThatChangesNothing(benchmark::State& state) {
  Scene scene;
  decideAtSteadyTemperature(state, scene, scene.monitor, scene.monitored);
}
BENCHMARK(monitorDecisionThatChangesNothing);

void monitorDecisionThatMovesADevice(benchmark::State& state) {
  Scene scene;
  decideBetween(state, scene, scene.monitor, 52000, 62000);
}
BENCHMARK(monitorDecisionThatMovesADevice);

void ssDecisionThatChangesNothing(benchmark::State& state) {
  Scene scene;
  decideAtSteadyTemperature(state, scene, scene.ss, scene.stepped);
}
BENCHMARK(ssDecisionThatChangesNothing);

void ssDecisionThatMovesADevice(benchmark::State& state) {
  Scene scene;
  decideBetween(state, scene, scene.ss, 52000, 53000);
}
BENCHMARK(ssDecisionThatMovesADevice);

} // namespace
