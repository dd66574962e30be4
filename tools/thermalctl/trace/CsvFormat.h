#pragma once

#include <array>
#include <string>
#include <string_view>

// What a trace.csv looks like, for who writes it and who reads it: a line for each event, of all
// runs, below one that names the columns.
//
//   event          name           value            detail
//   temperature    sensor         millidegrees
//   plant          node           millidegrees
//   level          device         level            entry of the level table
//   algorithm      algorithm      level or step    scenario
//   scenario       its name
//   configuration  its name
//   end
//
// Shape: every line has all columns, those without a meaning empty. The lines of a run stand
//        together and in the order of their times; an algorithm that falls asleep has no value.
// Units: times in milliseconds since the start of the run.
namespace csv {

enum Column { kRun, kTime, kEvent, kName, kValue, kDetail, kColumns };
using Fields = std::array<std::string, kColumns>;

constexpr std::string_view kHeader = "run,time_ms,event,name,value,detail\n";

constexpr char kTemperature[] = "temperature";
constexpr char kPlant[] = "plant";
constexpr char kLevel[] = "level";
constexpr char kAlgorithm[] = "algorithm";
constexpr char kScenario[] = "scenario";
constexpr char kConfiguration[] = "configuration";
constexpr char kEnd[] = "end";

// A field as it is written, quoted where it must be.
std::string field(const std::string& text);

// What stands between a line's time and its value, written in one piece: ",event,name,".
std::string between(const char* event, const std::string& name);

// Takes one field and the comma behind it from the start of `line`. False without a comma.
bool takeField(std::string_view& line, std::string& field);

// The fields of a line without its line feed. False where their number is another.
bool takeFields(std::string_view line, Fields& fields);

} // namespace csv
