#include <map>
#include <sstream>
#include <string>

#include <benchmark/benchmark.h>

#include "config/ConfParser.h"
#include "device/Device.h"
#include "support/FixedSensor.h"
#include "support/FreeObjects.h"
#include "support/LogSwitchedOff.h"
#include "support/SysfsDir.h"
#include "thread/MonitorThread.h"
#include "thread/SSThread.h"

namespace {

// Monitors and SS items in turn.
std::string configuration(int64_t items) {
  std::string text = "SCEN Default\n";
  for (int64_t i = 0; i < items; ++i) {
    text += "[item" + std::to_string(i) + "]\n";
    text += i % 2 == 0 ? "algo_type monitor\nsensor sensor\nsampling 1000\n"
                         "thresholds 50000 60000 70000\nthresholds_clr 45000 55000 65000\n"
                         "actions device device device\naction_info 1 2 3\n\n"
                       : "algo_type ss\nsensor sensor\ndevice device\nsampling 1000\n"
                         "set_point 60000\nset_point_clr 55000\nstart_level 1\n\n";
  }
  return text;
}

void parse(benchmark::State& state) {
  const LogSwitchedOff quiet;
  const SysfsDir sysfs;
  Device device("device", sysfs.node("device"), "integer", {"3", "2", "1", "0"});
  const std::string text = configuration(state.range(0));
  for (auto _ : state) {
    state.PauseTiming();
    FixedSensor sensor;
    std::map<std::string, Sensor*> sensors{{"sensor", &sensor}};
    std::map<std::string, Device*> devices{{"device", &device}};
    std::map<std::string, SSThread*> ssThreads;
    std::map<std::string, MonitorThread*> monitorThreads;
    std::map<std::string, Scenario*> scenarios;
    std::istringstream in(text);
    state.ResumeTiming();

    const auto error =
        ConfParser(in, {sensors, devices, ssThreads, monitorThreads, scenarios}).parse();

    state.PauseTiming();
    if (error) state.SkipWithError(error->c_str());
    freeWorkers(ssThreads);
    freeWorkers(monitorThreads);
    freeObjects(scenarios);
    state.ResumeTiming();
  }
  state.SetComplexityN(state.range(0));
  state.SetItemsProcessed(state.iterations() * state.range(0));
}
BENCHMARK(parse)->Arg(10)->Arg(1000)->Arg(10000)->Unit(benchmark::kMicrosecond)->Complexity();

} // namespace
