#pragma once

#include <array>
#include <string>
#include <string_view>

#include "trace/Trace.h"

// What a trace.csv looks like, for who writes it and who reads it: a line for each event, of all
// runs, below one that names the columns.
//
//   event          name           value            detail
//   temperature    sensor         millidegrees
//   plant          node           millidegrees
//   level          device         level            entry of the level table
//   algorithm      algorithm      level or step    scenario
//   power          source         microwatts
//   scenario       its name
//   configuration  its name
//   gap            sensor or none   milliseconds
//   standstill
//   end
//
// Shape: every line has all columns, those without a meaning empty. The lines of a run stand
//        together and in the order of their times; an algorithm that falls asleep has no value. A
//        gap stands where it ends; without a sensor it is one in everything.
// Units: times in milliseconds since the start of the run.
namespace csv {

enum Column { kRun, kTime, kEvent, kName, kValue, kDetail, kColumns };
constexpr std::array<std::string_view, kColumns> kNames = {"run",  "time_ms", "event",
                                                           "name", "value",   "detail"};
using Fields = std::array<std::string, kColumns>;

constexpr char kTemperature[] = "temperature";
constexpr char kPlant[] = "plant";
constexpr char kLevel[] = "level";
constexpr char kAlgorithm[] = "algorithm";
constexpr char kPower[] = "power";
constexpr char kScenario[] = "scenario";
constexpr char kConfiguration[] = "configuration";
constexpr char kGap[] = "gap";
constexpr char kStandstill[] = "standstill";
constexpr char kEnd[] = "end";

// A line without its time and value.
inline Fields lineOf(const std::string& run, const char* event, const std::string& name = "",
                     const std::string& detail = "") {
  return {run, "", event, name, "", detail};
}
inline Fields lineOf(const std::string& run, const SensorTrack& sensor) {
  const bool isNode = sensor.kind == SensorTrack::Kind::kPlantNode;
  return lineOf(run, isNode ? kPlant : kTemperature, sensor.name);
}
inline Fields lineOf(const std::string& run, const DeviceTrack& device, const std::string& entry) {
  return lineOf(run, kLevel, device.name, entry);
}
inline Fields lineOf(const std::string& run, const AlgorithmTrack& algorithm) {
  return lineOf(run, kAlgorithm, algorithm.name, algorithm.scenario);
}

// What stands around the time and the value of a line, quoted where it must be.
//
// Shape: `end` has the line feed.
struct Frame {
  Frame(const Fields& line);

  std::string start;
  std::string middle;
  std::string end;
};

// The line that names the columns.
const std::string& header();

// Takes one field and the comma behind it from the start of `line`. False without a comma.
bool takeField(std::string_view& line, std::string& field);

// The fields of a line without its line feed. False where their number is another.
bool takeFields(std::string_view line, Fields& fields);

} // namespace csv
