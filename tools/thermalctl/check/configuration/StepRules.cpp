#include "check/configuration/ConfigurationRules.h"
#include "check/rule/Keys.h"
#include "check/rule/Numbers.h"
#include "check/rule/Visits.h"

namespace {

bool drivesReport(const Item& item) {
  return item.device && item.device->section && item.device->section->kindWord.text == "report";
}

// An SS item, the device that it drives, and the last level of that.
struct Steps {
  const Item& item;
  const std::string& device;
  int64_t last;
};

// The items whose device has levels: what is wrong with a device or its table is told where it
// stands.
Check eachWithTable(Look<Steps> look) {
  return eachSS([look = std::move(look)](const Item& item, Context& context) {
    if (!item.device || !item.device->section || drivesReport(item)) return;
    const Section& device = *item.device->section;
    if (!device.levels.empty() && !device.merged())
      look({item, device.name, static_cast<int64_t>(device.levels.size()) - 1}, context);
  });
}

} // namespace

const std::vector<Rule> kStepRules = {
    {"start-level-below-1", Severity::kWarning,
     "At its first step an ss item asks for 'start_level', at each further one for one more. With "
     "0, the default, the first degree asks for nothing; and when the count is back at 0, between "
     "'set_point' and 'set_point_clr', the level is -1, which counts as the last entry of the "
     "table: the strongest cooling there is, on the way down. Keep 'start_level' at 1 or above.",
     eachWithTable([](const Steps& steps, Context& context) {
       const Item& item = steps.item;
       if (item.startLevel.value >= 1 || !sound(item.startLevel) || misspelt(item, "start_level"))
         return;
       context.tell(item.place("start_level"),
                    {"{} the daemon asks for the last level, {}",
                     item.startLevel.value < 0 ? "in its first steps"
                                               : "when it has cooled down to the set point again",
                     steps.last},
                    "write 'start_level 1'");
     })},

    {"start-level-past-table", Severity::kError,
     "At its first step an ss item asks for 'start_level'. A level past the end of the device's "
     "table becomes its last entry, so that the item knows but one level, the strongest.",
     eachWithTable([](const Steps& steps, Context& context) {
       const Number& start = steps.item.startLevel;
       if (start.value > steps.last && sound(start))
         context.tell(
             start.word,
             {"from the first step on the daemon asks for level {}, the last in the table of '{}'",
              steps.last, steps.device});
     })},

    {"floor-past-table", Severity::kWarning,
     "'device_perf_floor' is the highest level that an ss item may ask for. One past the end of "
     "the device's table keeps it from nothing: the item goes to the last entry.",
     eachWithTable([](const Steps& steps, Context& context) {
       const Number& floor = steps.item.devicePerfFloor;
       // Without a line the bound is the largest number there is, which nobody wrote.
       if (!floor.word.text.empty() && sound(floor) && floor.value > steps.last)
         context.tell(floor.word,
                      {"the daemon never comes up to this: the table of '{}' ends at level {}",
                       steps.device, steps.last});
     })},

    {"floor-below-1", Severity::kError,
     "'device_perf_floor' is the highest level that an ss item may ask for. With 0 or less the "
     "item never asks for anything, however hot it is.",
     eachWithTable([](const Steps& steps, Context& context) {
       const Number& floor = steps.item.devicePerfFloor;
       if (floor.value < 1 && sound(floor))
         context.tell(floor.word, {"this keeps the daemon from ever driving '{}'", steps.device},
                      "write the highest level that the item may ask for");
     })},

    {"ss-on-report", Severity::kError,
     "An ss item asks its device for levels. A report device has none: it writes \"Over "
     "Thresholds\" for a request of exactly 1 and \"Under Thresholds Clear\" for 0, so that the "
     "report shows steps and no alarms, if anything at all.",
     eachSS([](const Item& item, Context& context) {
       if (drivesReport(item))
         context.tell(item.device->word,
                      "the daemon asks this device for levels, and a report has none",
                      "give the report a monitor with one threshold");
     })},
};
