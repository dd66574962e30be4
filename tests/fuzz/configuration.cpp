// The configuration file: any text, read on a fixed board with a device of every kind.

#include "algo/Monitor.h"
#include "algo/SS.h"
#include "support/FuzzedBoard.h"
#include "support/Require.h"
#include "support/Target.h"
#include "thread/MonitorThread.h"
#include "thread/SSThread.h"
#include "thread/Scenario.h"

namespace {

constexpr char kEnvironment[] = R"([cpu]
type real

[gpu]
type real
sampling 100

[skin]
type virtual
sensors cpu gpu
weights 1 1
trip_sensor cpu

[big]
type cpufreq
level_table 3 2 1

[gfx]
type gpufreq
level_table 0x3 0x2 0x1

[plug]
type cpuhotplug
level_table 0b11 0b10

[cam]
type camera
level_table "full rate" half

[chg]
type charger

[lcd]
type backlight
level_table 255

[rep]
type report
)";

bool isStatedMessage(const std::string& message) {
  return message == "Each item should be started with 'SCEN' or embraced with [name]" ||
         message == "Each item's property should contain & start with 'algo_type'" ||
         message == "Algo type should be 'monitor' or 'SS'" ||
         message.rfind("There is some missing property for ", 0) == 0;
}

template <typename Worker>
void checkKeys(const std::map<std::string, Worker*>& workers, const std::string& kind) {
  for (const auto& [key, worker] : workers) {
    const std::string period = std::to_string(static_cast<uint32_t>(worker->period));
    require(key.size() >= period.size() + kind.size() && key.rfind(period, 0) == 0 &&
                key.substr(key.size() - kind.size()) == kind,
            "a worker's key is its period, a scenario and its kind");
    for (const auto* item : worker->items)
      require(item->sensor && static_cast<int32_t>(item->sampling) == worker->period,
              "an item has a sensor and its worker's period");
  }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  static const Nodes nodes;
  FuzzedBoard board;
  board.parseEnvironment(kEnvironment, nodes);
  const std::string text(reinterpret_cast<const char*>(data), size);
  const std::optional<std::string> message = board.parseConfiguration(text);

  require(!message || isStatedMessage(*message), "an error has one of the four messages");
  require(!message || board.scenarios.empty(), "a file with an error brings no scenario");
  for (const auto& [name, scenario] : board.scenarios)
    require(scenario && scenario->name == name && scenario->active == (name == "Default"),
            "a scenario is in force at first exactly if it is Default");
  checkKeys(board.monitorThreads, "MONITOR");
  checkKeys(board.ssThreads, "SS");
  board.check();
  return 0;
}
