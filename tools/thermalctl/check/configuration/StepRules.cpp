#include "check/configuration/ConfigurationRules.h"
#include "check/configuration/Items.h"

namespace {

bool drivesReport(const Item& item) {
  return item.device && isOfKind(item.device->section, "report");
}

// Calls `visit` with the last level of the device of each item whose device has any.
template <typename Visit> void forEachWithTable(const Subject& subject, Visit visit) {
  forEachSS(subject, [&](const Configuration& configuration, const Item& item) {
    // What is wrong with a device or its table is told where it stands.
    if (!item.device || !item.device->section || drivesReport(item)) return;
    const size_t levels = item.device->section->levels.size();
    if (levels > 0) visit(configuration, item, static_cast<int64_t>(levels) - 1);
  });
}

void startLevelBelow1(const Subject& subject, Findings& findings) {
  forEachWithTable(
      subject, [&](const Configuration& configuration, const Item& item, int64_t last) {
        if (item.startLevel.value >= 1 || !sound(item.startLevel) ||
            standsAlone(item, "start_level") || misspelt(item, "start_level"))
          return;
        findings.add(configuration.file, item.place("start_level"),
                     std::string(item.startLevel.value < 0
                                     ? "in its first steps"
                                     : "when it has cooled down to the set point again") +
                         " the daemon asks for the last level, " + std::to_string(last),
                     "write 'start_level 1'");
      });
}
constexpr Rule kStartLevelBelow1 = {
    "start-level-below-1", Severity::kWarning,
    "At its first step an ss item asks for 'start_level', at each further one for one more. With "
    "0, the default, the first degree asks for nothing; and when the count is back at 0, between "
    "'set_point' and 'set_point_clr', the level is -1, which counts as the last entry of the "
    "table: the strongest cooling there is, on the way down. Keep 'start_level' at 1 or above.",
    startLevelBelow1};

void startLevelPastTable(const Subject& subject, Findings& findings) {
  forEachWithTable(
      subject, [&](const Configuration& configuration, const Item& item, int64_t last) {
        if (item.startLevel.value <= last || !sound(item.startLevel)) return;
        findings.add(configuration.file, item.startLevel.word,
                     "from the first step on the daemon asks for level " + std::to_string(last) +
                         ", the last in the table of " + quoted(item.device->section->name));
      });
}
constexpr Rule kStartLevelPastTable = {
    "start-level-past-table", Severity::kError,
    "At its first step an ss item asks for 'start_level'. A level past the end of the device's "
    "table becomes its last entry, so that the item knows but one level, the strongest.",
    startLevelPastTable};

void floorPastTable(const Subject& subject, Findings& findings) {
  forEachWithTable(subject, [&](const Configuration& configuration, const Item& item,
                                int64_t last) {
    // Without a line the bound is the largest number there is, which nobody wrote.
    if (item.devicePerfFloor.word.text.empty() || !sound(item.devicePerfFloor) ||
        item.devicePerfFloor.value <= last)
      return;
    findings.add(configuration.file, item.devicePerfFloor.word,
                 "the daemon never comes up to this: the table of " +
                     quoted(item.device->section->name) + " ends at level " + std::to_string(last));
  });
}
constexpr Rule kFloorPastTable = {
    "floor-past-table", Severity::kWarning,
    "'device_perf_floor' is the highest level that an ss item may ask for. One past the end of "
    "the device's table keeps it from nothing: the item goes to the last entry.",
    floorPastTable};

void floorBelow1(const Subject& subject, Findings& findings) {
  forEachWithTable(subject, [&](const Configuration& configuration, const Item& item, int64_t) {
    if (item.devicePerfFloor.value >= 1 || !sound(item.devicePerfFloor) ||
        standsAlone(item, "device_perf_floor"))
      return;
    findings.add(configuration.file, item.devicePerfFloor.word,
                 "this keeps the daemon from ever driving " + quoted(item.device->section->name),
                 "write the highest level that the item may ask for");
  });
}
constexpr Rule kFloorBelow1 = {
    "floor-below-1", Severity::kError,
    "'device_perf_floor' is the highest level that an ss item may ask for. With 0 or less the "
    "item never asks for anything, however hot it is.",
    floorBelow1};

void ssOnReport(const Subject& subject, Findings& findings) {
  forEachSS(subject, [&](const Configuration& configuration, const Item& item) {
    if (!drivesReport(item)) return;
    findings.add(configuration.file, item.device->word,
                 "the daemon asks this device for levels, and a report has none",
                 "give the report a monitor with one threshold");
  });
}
constexpr Rule kSsOnReport = {
    "ss-on-report", Severity::kError,
    "An ss item asks its device for levels. A report device has none: it writes \"Over "
    "Thresholds\" for a request of exactly 1 and \"Under Thresholds Clear\" for 0, so that the "
    "report shows steps and no alarms, if anything at all.",
    ssOnReport};

} // namespace

const std::vector<Rule>& stepRules() {
  static const std::vector<Rule> rules = {kStartLevelBelow1, kStartLevelPastTable, kFloorPastTable,
                                          kFloorBelow1, kSsOnReport};
  return rules;
}
