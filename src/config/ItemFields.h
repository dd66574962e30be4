#pragma once

#include <cstdint>
#include <string>
#include <vector>

enum class ItemKind { kMonitor, kSS, kNone };

// The kind that a word behind "algo_type" names, in its own spelling alone.
inline ItemKind itemKind(const std::string& word) {
  if (word == "monitor") return ItemKind::kMonitor;
  return word == "ss" ? ItemKind::kSS : ItemKind::kNone;
}

// The name under which the daemon keeps an item's worker, such as "1000DefaultMONITOR".
inline std::string workerKey(ItemKind kind, uint32_t sampling, const std::string& scenario) {
  return std::to_string(sampling) + scenario + (kind == ItemKind::kSS ? "SS" : "MONITOR");
}

// What the property lines of an item give.
//
// Shape:  the type of a field says what stands behind its key: a name, a number or a flag is one
//         word, a list takes the words of all of its lines. `Values` has the types: the daemon
//         keeps what a word means, a checker also where it stands. A field of which there is no
//         line keeps its default.
// Units:  temperatures in millidegrees Celsius, `sampling` in milliseconds, levels as indices into
//         a device's table, `timeTickTrigger` in decisions.
// Source: the lines below "algo_type", by the keys of `visitKeys`.
template <typename Values> struct ItemFields {
  typename Values::Sensor sensor{};
  typename Values::Number sampling{1000};
  typename Values::Flag lowactive{};

  // Of a monitor.
  std::vector<typename Values::Number> thresholds;
  std::vector<typename Values::Number> thresholdsClr;
  std::vector<typename Values::DeviceRow> actions;
  std::vector<typename Values::LevelRow> actionInfo;

  // Of an SS.
  typename Values::Device device{};
  typename Values::Number setPoint{};
  typename Values::Number setPointClr{};
  typename Values::Number startLevel{};
  typename Values::Number devicePerfFloor{INT32_MAX};
  typename Values::Number timeTickTrigger{};
};

// Whether an item is rejected for want of the key.
enum class Need { kOptional, kMandatory };

// Calls `visit(key, field, need)` for each key of an item of that kind, in the order in which the
// mandatory ones are looked for.
template <typename Item, typename Visit> void visitKeys(Item& item, ItemKind kind, Visit visit) {
  if (kind == ItemKind::kNone) return;
  visit("sensor", item.sensor, Need::kMandatory);
  if (kind == ItemKind::kSS) visit("device", item.device, Need::kMandatory);
  visit("sampling", item.sampling, Need::kOptional);
  if (kind == ItemKind::kMonitor) {
    visit("thresholds", item.thresholds, Need::kMandatory);
    visit("thresholds_clr", item.thresholdsClr, Need::kMandatory);
    visit("actions", item.actions, Need::kMandatory);
    visit("action_info", item.actionInfo, Need::kMandatory);
  } else {
    visit("set_point", item.setPoint, Need::kMandatory);
    visit("set_point_clr", item.setPointClr, Need::kMandatory);
    visit("start_level", item.startLevel, Need::kOptional);
    visit("device_perf_floor", item.devicePerfFloor, Need::kOptional);
    visit("time_tick_trigger", item.timeTickTrigger, Need::kOptional);
  }
  visit("lowactive", item.lowactive, Need::kOptional);
}
