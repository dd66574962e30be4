#pragma once

#include <cstdint>
#include <optional>
#include <string_view>

// What one message of the daemon tells.
//
// Shape: the fields that `kind` names have a meaning, the others do not. The names point into the
//        text that was read; `temperature` is that of a decision, as the algorithm reads it.
// Units: temperatures in millidegrees Celsius, levels as indices into a level table; for a step
//        algorithm `before` is its number of steps.
struct LogLine {
  enum class Kind {
    kStart,      // the daemon starts
    kSample,     // of a real sensor: `name`, its `scenario`, `value` in millidegrees
    kVirtual,    // of a virtual sensor: `name`, `value`
    kWoken,      // `name` by `sensor` in `scenario`
    kPutToSleep, // the same, in a change of the scenario
    kLevel,      // the monitor `name` from `before` to `value`
    kRequest,    // the step algorithm `name` asks for the level `value`
    kReleased,   // the step algorithm `name` falls asleep
    kChange,     // to the scenario `name` begins
    kScenario,   // `name` is in force
    kSwap,       // another configuration is about to be read
    kSwapDone,   // it is in force
    kOther,      // nothing that a picture shows
  };
  Kind kind = Kind::kOther;
  std::string_view name;
  std::string_view sensor;
  std::string_view scenario;
  int32_t temperature = 0;
  int32_t before = 0;
  int32_t value = 0;
};

// Nothing for a text that is not exactly one whole message.
std::optional<LogLine> parseMessage(std::string_view text);
