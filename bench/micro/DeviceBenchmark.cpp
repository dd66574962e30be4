#include <string>

#include <benchmark/benchmark.h>

#include "device/Device.h"
#include "support/LogSwitchedOff.h"
#include "support/SysfsDir.h"

namespace {

struct RequestedDevice {
  explicit RequestedDevice(int64_t requesters) {
    for (int64_t i = 0; i < requesters; ++i)
      device.deviceControl("requester" + std::to_string(i), 1);
    device.statusApply();
  }

  LogSwitchedOff quiet;
  SysfsDir sysfs;
  Device device{"device", sysfs.node("device"), "integer", {"30", "20", "10"}};
};

void statusApplyThatChangesNothing(benchmark::State& state) {
  RequestedDevice requested(state.range(0));
  for (auto _ : state)
    requested.device.statusApply();
}
BENCHMARK(statusApplyThatChangesNothing)->Arg(1)->Arg(50);

// One requester moves between levels 1 and 2 while the others stay at 1, so every apply writes. The
// cost of its post is part of it.
void statusApplyThatWrites(benchmark::State& state) {
  RequestedDevice requested(state.range(0));
  const std::string requester = "requester0";
  int32_t level = 1;
  for (auto _ : state) {
    level = 3 - level;
    requested.device.deviceControl(requester, level);
    requested.device.statusApply();
  }
}
BENCHMARK(statusApplyThatWrites)->Arg(1)->Arg(50);

} // namespace
