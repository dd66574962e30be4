#include <algorithm>

#include "check/configuration/ConfigurationRules.h"
#include "check/configuration/Rows.h"
#include "check/rule/Keys.h"
#include "check/rule/Numbers.h"
#include "check/rule/Visits.h"
#include "coverage/Coverage.h"

namespace {

// Whether the item is to act on cold, a word that the daemon does not take for "true" included:
// "yes", "1" or "True" were meant for that, and the daemon takes them for false.
bool meantLowactive(const Item& item) {
  return item.lowactive || misspelt(item, "lowactive") ||
         (item.lowactive.word && item.lowactive.word->text != "false");
}

// As the item compares it: the larger, the more there is to do.
int64_t urgency(const Item& item, const Number& temperature) {
  // In 64 bits: the lowest number of 32 has no opposite in them.
  const int64_t value = temperature.value;
  return meantLowactive(item) ? -value : value;
}

// Where it is not time to act.
const char* behind(const Item& item) {
  return meantLowactive(item) ? "above" : "below";
}

// The first entry that is not as urgent as the one before it, or not by so much more.
const Number* firstOutOfOrder(const Item& item, const std::vector<Number>& list, int64_t step) {
  for (size_t i = 1; i < list.size(); ++i)
    if (urgency(item, list[i]) < urgency(item, list[i - 1]) + step &&
        soundTemperature(list[i], item) && soundTemperature(list[i - 1], item))
      return &list[i];
  return nullptr;
}

bool allDescending(const std::vector<Number>& list) {
  return std::is_sorted(list.rbegin(), list.rend(),
                        [](const Number& a, const Number& b) { return a.value < b.value; });
}

bool runDown(const Item& item) {
  return allDescending(item.thresholds) && allDescending(item.thresholdsClr);
}

const char* orderFor(const Item& item) {
  if (meantLowactive(item)) return "write the list descending: the item acts on cold";
  if (runDown(item))
    return "write the list ascending, or 'lowactive true' if the item is to act on cold";
  return "write the list ascending";
}

// Whether it is the one word too many, or the one that lacks, that turns the order of all: that is
// told of the item.
bool isTurnedAround(const Item& item) {
  return (item.lowactive && runsLikeHeat(item)) || lacksLowactive(item);
}

// Whether it is the number of thresholds that is wrong: the rules for rows tell then.
bool rowsMatchClearing(const Item& item) {
  return rowsAsWritten(item) && item.actions.size() == item.thresholdsClr.size() &&
         item.actionInfo.size() == item.thresholdsClr.size();
}

} // namespace

const std::vector<Rule> kThresholdRules = {
    {"thresholds-order", Severity::kError,
     "A monitor counts the thresholds that are reached from the front of the list and stops at the "
     "first that is not. Behind one that is out of order the others wait for it: with 'thresholds "
     "70000 60000' nothing happens at 65000, and at 70000 the item jumps to level 2. "
     "'thresholds_clr' is counted in the same way on the way down. Both lists ascend; with "
     "'lowactive true' they descend.",
     eachMonitor([](const Item& item, Context& context) {
       if (isTurnedAround(item)) return;
       if (const Number* number = firstOutOfOrder(item, item.thresholds, 1))
         context.tell(number->word,
                      {"the daemon never stops at the level before this one: its threshold is not "
                       "{} the one before",
                       meantLowactive(item) ? "below" : "above"},
                      orderFor(item));
       else if (const Number* clearing = firstOutOfOrder(item, item.thresholdsClr, 0))
         context.tell(clearing->word,
                      "on the way down the daemon leaves out the level before this one",
                      orderFor(item));
     })},

    {"clearing-not-below-threshold", Severity::kError,
     "A monitor enters a level at its threshold and leaves it below its clearing threshold. Where "
     "the second is not below the first, it enters and leaves in turn, once per period, and the "
     "device swings. With 'lowactive true' the clearing threshold must lie above.",
     eachMonitor([](const Item& item, Context& context) {
       const size_t pairs = std::min(item.thresholds.size(), item.thresholdsClr.size());
       const Number* outOfOrder = firstOutOfOrder(item, item.thresholds, 1);
       // Lists that were written for cold: their order is the finding.
       if ((outOfOrder && runDown(item)) || isTurnedAround(item)) return;
       for (size_t i = 0; i < pairs; ++i) {
         const Number& threshold = item.thresholds[i];
         const Number& clearing = item.thresholdsClr[i];
         // That is what another rule tells.
         if (&threshold == outOfOrder) continue;
         if (urgency(item, clearing) >= urgency(item, threshold) &&
             soundTemperature(threshold, item) && soundTemperature(clearing, item))
           context.tell(clearing.word,
                        {"the daemon enters level {} at {} and may leave it at once", i + 1,
                         threshold.value},
                        {"write a value {} {}", behind(item), threshold.value});
       }
     })},

    {"clearing-thresholds-count", Severity::kError,
     "Each threshold needs a clearing threshold. For a level without one its own threshold stands "
     "in, so that the device swings around it; a clearing threshold too many is never looked at.",
     eachMonitor([](const Item& item, Context& context) {
       const std::vector<Number>& thresholds = item.thresholds;
       const std::vector<Number>& clearing = item.thresholdsClr;
       if (thresholds.empty() || clearing.empty() || thresholds.size() == clearing.size() ||
           !haveDigits(thresholds) || !haveDigits(clearing) || rowsMatchClearing(item))
         return;
       if (clearing.size() < thresholds.size()) {
         const Number& left = thresholds[clearing.size()];
         context.tell(left.word,
                      {"the daemon has no clearing threshold for level {} and leaves it as soon as "
                       "it is {} {}",
                       clearing.size() + 1, behind(item), left.value},
                      "write a value for each threshold behind 'thresholds_clr'");
       } else {
         context.tell(
             clearing[thresholds.size()].word,
             {"the daemon never looks at this: there is no level {}", thresholds.size() + 1},
             "write a clearing threshold for each threshold, and no more");
       }
     })},

    {"set-point-order", Severity::kError,
     "An ss item wakes at 'set_point' and stops below 'set_point_clr'. Where the second lies above "
     "the first, it wakes and stops in turn and drives nothing in between. With 'lowactive true' "
     "'set_point_clr' must lie above.",
     eachSS([](const Item& item, Context& context) {
       const Number& start = item.setPoint;
       const Number& stop = item.setPointClr;
       // 0 counts as missing, and ends the daemon before the order matters.
       if (start.value == 0 || stop.value == 0 || !soundTemperature(start, item) ||
           !soundTemperature(stop, item) || urgency(item, stop) <= urgency(item, start) ||
           lacksLowactive(item))
         return;
       context.tell(
           stop.word,
           {"the daemon wakes the item and stops it again at once while the temperature is {} {}",
            behind(item), stop.value},
           {"write a value {} {}", behind(item), start.value});
     })},
};
