#include <memory>
#include <string>
#include <vector>

#include <benchmark/benchmark.h>

#include "algo/Monitor.h"
#include "sensor/Real.h"
#include "sensor/Virtual.h"
#include "support/CountingThread.h"
#include "support/FixedSensor.h"
#include "support/LogSwitchedOff.h"
#include "support/SysfsDir.h"

namespace {

void realSample(benchmark::State& state) {
  const LogSwitchedOff quiet;
  const SysfsDir sysfs;
  Real sensor("sensor", 1000, sysfs.write("temp", "45000\n"));
  for (auto _ : state)
    sensor.updateTemp();
  if (sensor.temperature != 45000) state.SkipWithError("the node was not read");
}
BENCHMARK(realSample);

void virtualSampleOfFourSources(benchmark::State& state) {
  const LogSwitchedOff quiet;
  std::vector<FixedSensor> fixed(4);
  std::vector<Sensor*> sources;
  for (FixedSensor& source : fixed) {
    source.temperature = 45000;
    sources.push_back(&source);
  }
  Virtual sensor("virtual", 1000, nullptr, 0, 0, sources, 0, {100}, {10, 20, 30, 40});
  for (auto _ : state)
    sensor.updateTemp();
}
BENCHMARK(virtualSampleOfFourSources);

void traversItemsOverSleepers(benchmark::State& state) {
  const LogSwitchedOff quiet;
  FixedSensor sensor;
  CountingThread worker;
  std::vector<std::unique_ptr<Monitor>> sleepers;
  for (int64_t i = 0; i < state.range(0); ++i)
    sleepers.push_back(std::make_unique<Monitor>(
        "monitor" + std::to_string(i), 1000, 50000, 45000, "Default", false, &sensor, &worker,
        Monitor::DeviceRows{{}}, Monitor::LevelRows{{}}, std::vector<int32_t>{50000},
        std::vector<int32_t>{45000}));
  sensor.temperature = 30000;
  for (auto _ : state)
    sensor.traversItems();
  if (worker.activations != 0) state.SkipWithError("an algorithm woke");
}
BENCHMARK(traversItemsOverSleepers)->Arg(1)->Arg(10)->Arg(100);

} // namespace
