#include <algorithm>

#include "check/configuration/ConfigurationRules.h"
#include "check/configuration/Items.h"

namespace {

// As the item compares it: the larger, the more there is to do.
int64_t urgency(const Item& item, const Number& temperature) {
  // In 64 bits: the lowest number of 32 has no opposite in them.
  const int64_t value = temperature.value;
  return meantLowactive(item) ? -value : value;
}

// Where it is time to act, and where it is not.
std::string beyond(const Item& item) {
  return meantLowactive(item) ? "below " : "above ";
}
std::string behind(const Item& item) {
  return meantLowactive(item) ? "above " : "below ";
}

using Follows = bool (*)(int64_t, int64_t);

// The first entry that does not follow the one before it.
const Number* firstOutOfOrder(const Item& item, const std::vector<Number>& list, Follows follows) {
  for (size_t i = 1; i < list.size(); ++i) {
    const bool sounds = soundTemperature(list[i]) && soundTemperature(list[i - 1]);
    if (sounds && !follows(urgency(item, list[i - 1]), urgency(item, list[i]))) return &list[i];
  }
  return nullptr;
}

bool allDescending(const std::vector<Number>& list) {
  return std::is_sorted(list.rbegin(), list.rend(),
                        [](const Number& a, const Number& b) { return a.value < b.value; });
}

std::string orderFor(const Item& item) {
  if (meantLowactive(item)) return "write the list descending: the item acts on cold";
  if (allDescending(item.thresholds) && allDescending(item.thresholdsClr))
    return "write the list ascending, or 'lowactive true' if the item is to act on cold";
  return "write the list ascending";
}

void thresholdsOrder(const Subject& subject, Findings& findings) {
  const Follows strictly = [](int64_t a, int64_t b) { return a < b; };
  const Follows weakly = [](int64_t a, int64_t b) { return a <= b; };
  forEachMonitor(subject, [&](const Configuration& configuration, const Item& item) {
    if (const Number* number = firstOutOfOrder(item, item.thresholds, strictly))
      findings.add(
          configuration.file, number->word,
          std::string(
              "the daemon never stops at the level before this one: its threshold is not ") +
              beyond(item) + "the one before",
          orderFor(item));
    else if (const Number* clearing = firstOutOfOrder(item, item.thresholdsClr, weakly))
      findings.add(configuration.file, clearing->word,
                   "on the way down the daemon leaves out the level before this one",
                   orderFor(item));
  });
}
constexpr Rule kThresholdsOrder = {
    "thresholds-order", Severity::kError,
    "A monitor counts the thresholds that are reached from the front of the list and stops at "
    "the first that is not. Behind one that is out of order the others wait for it: with "
    "'thresholds 70000 60000' nothing happens at 65000, and at 70000 the item jumps to level 2. "
    "'thresholds_clr' is counted in the same way on the way down. Both lists ascend; with "
    "'lowactive true' they descend.",
    thresholdsOrder};

void clearingNotBelowThreshold(const Subject& subject, Findings& findings) {
  forEachMonitor(subject, [&](const Configuration& configuration, const Item& item) {
    const size_t pairs = std::min(item.thresholds.size(), item.thresholdsClr.size());
    for (size_t i = 0; i < pairs; ++i) {
      const Number& threshold = item.thresholds[i];
      const Number& clearing = item.thresholdsClr[i];
      if (!soundTemperature(threshold) || !soundTemperature(clearing)) continue;
      if (urgency(item, clearing) < urgency(item, threshold)) continue;
      findings.add(configuration.file, clearing.word,
                   "the daemon enters level " + std::to_string(i + 1) + " at " +
                       std::to_string(threshold.value) + " and may leave it at once",
                   "write a value " + behind(item) + std::to_string(threshold.value));
    }
  });
}
constexpr Rule kClearingNotBelowThreshold = {
    "clearing-not-below-threshold", Severity::kError,
    "A monitor enters a level at its threshold and leaves it below its clearing threshold. Where "
    "the second is not below the first, it enters and leaves in turn, once per period, and the "
    "device swings. With 'lowactive true' the clearing threshold must lie above.",
    clearingNotBelowThreshold};

// Whether it is the number of thresholds that is wrong: the rules for rows tell then.
bool rowsMatchClearing(const Item& item) {
  return rowsAsWritten(item) && item.actions.size() == item.thresholdsClr.size() &&
         item.actionInfo.size() == item.thresholdsClr.size();
}

void clearingThresholdsCount(const Subject& subject, Findings& findings) {
  forEachMonitor(subject, [&](const Configuration& configuration, const Item& item) {
    const std::vector<Number>& thresholds = item.thresholds;
    const std::vector<Number>& clearing = item.thresholdsClr;
    if (thresholds.empty() || clearing.empty() || thresholds.size() == clearing.size() ||
        !haveDigits(thresholds) || !haveDigits(clearing) || rowsMatchClearing(item))
      return;
    if (clearing.size() < thresholds.size())
      findings.add(configuration.file, thresholds[clearing.size()].word,
                   "the daemon has no clearing threshold for level " +
                       std::to_string(clearing.size() + 1) + " and leaves it as soon as it is " +
                       behind(item) + std::to_string(thresholds[clearing.size()].value),
                   "write a value for each threshold behind 'thresholds_clr'");
    else
      findings.add(configuration.file, clearing[thresholds.size()].word,
                   "the daemon never looks at this: there is no level " +
                       std::to_string(thresholds.size() + 1),
                   "write a clearing threshold for each threshold, and no more");
  });
}
constexpr Rule kClearingThresholdsCount = {
    "clearing-thresholds-count", Severity::kError,
    "Each threshold needs a clearing threshold. For a level without one its own threshold stands "
    "in, so that the device swings around it; a clearing threshold too many is never looked at.",
    clearingThresholdsCount};

void setPointOrder(const Subject& subject, Findings& findings) {
  forEachSS(subject, [&](const Configuration& configuration, const Item& item) {
    const Number& start = item.setPoint;
    const Number& stop = item.setPointClr;
    // 0 counts as missing, and ends the daemon before the order matters.
    if (start.value == 0 || stop.value == 0 || !soundTemperature(start) || !soundTemperature(stop))
      return;
    if (urgency(item, stop) <= urgency(item, start)) return;
    findings.add(configuration.file, stop.word,
                 "the daemon wakes the item and stops it again at once while the temperature is " +
                     behind(item) + std::to_string(stop.value),
                 "write a value " + behind(item) + std::to_string(start.value));
  });
}
constexpr Rule kSetPointOrder = {
    "set-point-order", Severity::kError,
    "An ss item wakes at 'set_point' and stops below 'set_point_clr'. Where the second lies "
    "above the first, it wakes and stops in turn and drives nothing in between. With 'lowactive "
    "true' 'set_point_clr' must lie above.",
    setPointOrder};

} // namespace

const std::vector<Rule>& thresholdRules() {
  static const std::vector<Rule> rules = {kThresholdsOrder, kClearingNotBelowThreshold,
                                          kClearingThresholdsCount, kSetPointOrder};
  return rules;
}
