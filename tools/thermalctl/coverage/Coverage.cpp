#include "coverage/Coverage.h"

#include <algorithm>
#include <set>

#include "base/Names.h"

namespace {

// The level that a device takes of a request; none of a device that has no levels.
int32_t levelAt(const Section& device, int64_t request) {
  const auto last = static_cast<int64_t>(device.levels.size()) - 1;
  return static_cast<int32_t>(std::max<int64_t>(0, std::min(request, last)));
}

// Of what the item's sensor counts, in millidegrees.
int32_t unitOf(const Item& item) {
  return item.sensor && item.sensor->section ? item.sensor->section->unit : 1;
}

void raise(Action& action, const std::string& device, int32_t level) {
  int32_t& strongest = action.upTo[device];
  strongest = std::max(strongest, level);
}

// Where an item that acts on heat from `start` on comes into its second degree, as the daemon
// counts them: towards 0, and by thousands of whatever the node counts in.
int64_t secondDegree(int64_t start) {
  // Division goes towards 0: of -500 the degree is 0, and the next one begins at 1000; of -1500 it
  // is -1, and 0 begins at -999.
  const int64_t degree = start / 1000 + 1;
  return degree > 0 ? degree * 1000 : degree * 1000 - 999;
}

// Where an ss item asks for a level that cools. With 'start_level 0' the first degree asks for
// none.
int64_t startOf(const Item& item) {
  if (item.startLevel.value != 0) return millidegreesOf(item.setPoint, item);
  const int64_t sign = item.lowactive ? -1 : 1;
  return sign * secondDegree(sign * item.setPoint.value) * unitOf(item);
}

std::optional<Action> actionOfSS(const Item& item) {
  const Section* device = item.device ? item.device->section : nullptr;
  if (!device || isReport(*device) || item.setPoint.value == 0) return std::nullopt;
  const int32_t strongest = levelAt(*device, item.devicePerfFloor.value);
  if (strongest == 0) return std::nullopt;
  Action action;
  action.at = startOf(item);
  action.item = &item;
  action.word = item.setPoint.word;
  action.upTo[device->name] = strongest;
  return action;
}

template <typename Visit> void eachRequest(const Item& item, Visit visit) {
  // The daemon goes no further than the shortest of the three lists, nor in a row than the shorter
  // of the two.
  const size_t rows =
      std::min({item.thresholds.size(), item.actions.size(), item.actionInfo.size()});
  for (size_t row = 0; row < rows; ++row) {
    const auto& devices = item.actions[row].pieces;
    const auto& levels = item.actionInfo[row].pieces;
    for (size_t i = 0; i < std::min(devices.size(), levels.size()); ++i)
      if (devices[i].section && levels[i].value != 0)
        visit(row, *devices[i].section, levels[i].value);
  }
}

std::optional<Action> actionOfMonitor(const Item& item) {
  std::optional<Action> action;
  const std::vector<int64_t> onsets = onsetsOf(item);
  eachRequest(item, [&](size_t row, const Section& device, int32_t request) {
    const int32_t level = levelAt(device, request);
    if (isReport(device) || level == 0) return;
    // Rows come in the order of their onsets, so that the first one that does anything is the
    // earliest.
    if (!action) action = Action{{onsets[row], &item, item.thresholds[row].word}, {}};
    raise(*action, device.name, level);
  });
  return action;
}

std::optional<Onset> reportOf(const Item& item) {
  std::optional<Onset> report;
  const std::vector<int64_t> onsets = onsetsOf(item);
  eachRequest(item, [&](size_t row, const Section& device, int32_t) {
    if (isReport(device) && !report) report = Onset{onsets[row], &item, item.thresholds[row].word};
  });
  return report;
}

// Keeps the earlier of two onsets.
void join(std::optional<Onset>& all, const std::optional<Onset>& one) {
  if (one && (!all || one->at < all->at)) all = one;
}

void join(std::optional<Action>& all, const Action& one, bool cold) {
  if (!all) {
    all = one;
    return;
  }
  if (cold ? one.at > all->at : one.at < all->at) static_cast<Onset&>(*all) = one;
  for (const auto& [device, level] : one.upTo)
    raise(*all, device, level);
}

} // namespace

bool isReport(const Section& device) {
  return device.kindWord.text == "report";
}

int64_t millidegreesOf(const Number& temperature, const Item& item) {
  return static_cast<int64_t>(temperature.value) * unitOf(item);
}

bool lacksLowactive(const Item& item) {
  if (item.lowactive.word) return false;
  if (item.kind == ItemKind::kSS)
    return item.setPoint.value != 0 && millidegreesOf(item.setPoint, item) < kColdRoom &&
           item.setPointClr.value > item.setPoint.value;
  if (item.thresholds.size() != 1 || item.thresholdsClr.size() != 1) return false;
  return millidegreesOf(item.thresholds.front(), item) < kColdRoom &&
         item.thresholdsClr.front().value > item.thresholds.front().value;
}

bool runsLikeHeat(const Item& item) {
  if (item.kind == ItemKind::kSS) return item.setPointClr.value < item.setPoint.value;
  const auto below = [](const Number& a, const Number& b) { return a.value < b.value; };
  const size_t pairs = std::min(item.thresholds.size(), item.thresholdsClr.size());
  for (size_t i = 0; i < pairs; ++i)
    if (!below(item.thresholdsClr[i], item.thresholds[i])) return false;
  return pairs > 0 && std::is_sorted(item.thresholds.begin(), item.thresholds.end(), below);
}

std::vector<int64_t> onsetsOf(const Item& item) {
  std::vector<int64_t> onsets;
  for (const Number& threshold : item.thresholds) {
    const int64_t own = millidegreesOf(threshold, item);
    // A level is entered only from the one before: one with a lower threshold than that waits for
    // it.
    if (onsets.empty())
      onsets.push_back(own);
    else
      onsets.push_back(item.lowactive ? std::min(onsets.back(), own)
                                      : std::max(onsets.back(), own));
  }
  return onsets;
}

std::optional<Action> actionOf(const Item& item) {
  if (item.kind == ItemKind::kSS) return actionOfSS(item);
  return item.kind == ItemKind::kMonitor ? actionOfMonitor(item) : std::nullopt;
}

Coverage::Coverage(const Environment& environment,
                   const std::vector<Configuration>& configurations) {
  for (const Section& section : environment.sections)
    if (section.isSensor() && environment.sensor(section.name) == &section)
      sensors.push_back(&section);
  for (const Configuration& configuration : configurations)
    addColumns(configuration);
}

void Coverage::addColumns(const Configuration& configuration) {
  std::map<std::string, size_t> places;
  const auto place = [&](const std::string& scenario) {
    const auto [found, isNew] = places.emplace(scenario, columns.size());
    if (isNew) columns.push_back({&configuration, scenario});
    return found->second;
  };
  const auto isOfDefault = [](const Item* item) { return item->scenario == kDefaultScenario; };
  if (configuration.scenarios.count(kDefaultScenario) > 0 ||
      std::any_of(configuration.meant.begin(), configuration.meant.end(), isOfDefault))
    place(kDefaultScenario);
  for (const ScenarioLine& line : configuration.scenarioLines)
    if (!line.closes()) place(line.name.text);
  for (const Item* item : configuration.meant)
    add(*item, place(item->scenario));
}

void Coverage::add(const Item& item, size_t column) {
  ++columns[column].items;
  const Section* sensor = item.sensor ? item.sensor->section : nullptr;
  if (!sensor) {
    columns[column].sound = false;
    return;
  }
  CoverageCell& cell = cells[{sensor, column}];
  cell.items.push_back(&item);
  const std::optional<Action> action = actionOf(item);
  const std::optional<Onset> report = reportOf(item);
  join(cell.report, report);
  const bool meantForHeat =
      item.lowactive && action && (runsLikeHeat(item) || action->at >= kWarmRoom);
  if (action) join(item.lowactive ? cell.cold : cell.heat, *action, bool(item.lowactive));
  if (meantForHeat || (!action && !report)) cell.doubtful = true;
}

const CoverageCell& Coverage::cell(const Section* sensor, size_t column) const {
  static const CoverageCell kEmpty;
  const auto found = cells.find({sensor, column});
  return found == cells.end() ? kEmpty : found->second;
}

bool Coverage::isWatched(const Section* sensor, size_t column) const {
  return cells.count({sensor, column}) > 0;
}
