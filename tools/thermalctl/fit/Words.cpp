#include "fit/Words.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <map>
#include <set>

#include <fmt/format.h>

#include "fit/Course.h"
#include "fit/ThermalModel.h"
#include "text/Phrases.h"

// How a sentence is found: a direction with one quantity is told by what that quantity is; one in
// which powers, capacities and conductances go up together is the common scale; one with two is a
// relation; others are a combination. The advice is the first that applies: sources that moved
// together, one that never moved, a recording that is too short, and at last which source to step
// or where to put a sensor.

namespace {

using Kind = Quantity::Kind;

// The course of each source's power in all recordings: its mean, its scatter, and that of pairs.
class PowerCourses {
public:
  explicit PowerCourses(const Misfit& misfit) : count(misfit.plant.sources.size()) {
    for (const Recorded& recorded : misfit.recordings) {
      Powers powers(misfit.plant);
      for (const RecordedFile& file : recorded.files) {
        for (size_t i = 0; i < file.changes.size(); ++i) {
          const RecordedChange& change = file.changes[i];
          powers.take(change);
          if (change.kind == RecordedChange::Kind::kWatts) measured.insert(change.index);
          // What changes at one time changes together.
          const bool isLast =
              i + 1 == file.changes.size() || file.changes[i + 1].time > change.time;
          if (isLast && all.size() < 100'000) add(powers);
        }
      }
    }
  }

  bool isMeasured(size_t source) const { return measured.count(source) > 0; }
  bool moves(size_t source) const { return spread(source) > 1e-9; }
  bool isEverOn(size_t source) const { return most(source) > 0; }
  bool moveTogether(size_t a, size_t b) const {
    double product = 0;
    for (const auto& powers : all)
      product += (powers[a] - mean(a)) * (powers[b] - mean(b));
    const double both = spread(a) * spread(b);
    // Correlated by more than 0.97, in either direction.
    return both > 0 && std::abs(product / static_cast<double>(all.size())) > 0.97 * both;
  }

private:
  void add(const Powers& powers) {
    std::vector<double> now;
    for (size_t i = 0; i < count; ++i)
      now.push_back(powers.total(i));
    all.push_back(std::move(now));
  }

  double mean(size_t source) const {
    double sum = 0;
    for (const auto& powers : all)
      sum += powers[source];
    return all.empty() ? 0 : sum / static_cast<double>(all.size());
  }
  double spread(size_t source) const {
    double sum = 0;
    for (const auto& powers : all)
      sum += std::pow(powers[source] - mean(source), 2);
    return all.empty() ? 0 : std::sqrt(sum / static_cast<double>(all.size()));
  }
  double most(size_t source) const {
    double largest = 0;
    for (const auto& powers : all)
      largest = std::max(largest, powers[source]);
    return largest;
  }

  size_t count;
  std::vector<std::vector<double>> all;
  std::set<size_t> measured;
};

class Words {
public:
  Words(const Misfit& misfit_, const Estimation& estimation_)
      : misfit(misfit_), estimation(estimation_), plant(misfit.plant), courses(misfit) {
    for (const Agreeing& one : estimation.agreement)
      readNodes.insert(one.output < plant.probes.size() ? plant.probes[one.output].node
                                                        : one.output - plant.probes.size());
  }

  std::string of(const Undetermined& one) const {
    const std::string what = one.members.size() == 1 ? single(one.members.front()) : several(one);
    return what + ". Kept at its guess: " + nameOf(one.frozen);
  }

private:
  const Quantity& quantity(size_t i) const { return misfit.quantities[i]; }
  std::string nameOf(size_t i) const { return quantity(i).name; }
  std::string sourceOf(size_t i) const { return plant.sources[quantity(i).index].name; }

  std::vector<std::string> namesOf(const std::vector<size_t>& members) const {
    std::vector<std::string> names;
    names.reserve(members.size());
    for (const size_t i : members)
      names.push_back(nameOf(i));
    return names;
  }

  std::string single(size_t i) const {
    const std::string start = nameOf(i) + " is not determined: ";
    const size_t index = quantity(i).index;
    switch (quantity(i).kind) {
    case Kind::kWatts:
      if (courses.isMeasured(index))
        return start + "the watts of " + sourceOf(i) + " were measured, and its table was not used";
      if (!courses.isEverOn(index)) return start + sourceOf(i) + " was never on: step it alone";
      if (!courses.moves(index)) return start + sourceOf(i) + " was never moved: step it alone";
      return start + "what " + sourceOf(i) + " does is hardly seen: step it alone, for longer";
    case Kind::kIdle:
      return start + "idle power looks like a warmer ambient";
    case Kind::kCapacity:
      return start + advice(nodesOf({i}),
                            "no reading shows how fast " + plant.nodes[index].name + " warms");
    case Kind::kResistance:
      return start + advice(nodesOf({i}), "no heat that is seen goes through it");
    case Kind::kLag:
      return start + "nothing moved fast enough beside it: step a source of its node";
    case Kind::kOffset:
      return start + "it looks like a warmer or colder " +
             plant.nodes[plant.probes[index].node].name;
    case Kind::kAmbient:
      break;
    }
    return start + "it looks like other heat: add a column 'ambient'";
  }

  std::string several(const Undetermined& one) const {
    std::string what;
    if (isCommonScale(one))
      what = "only ratios of " + enumerated(namesOf(one.members)) +
             " are determined: powers, capacities and conductances have a common scale. Measure "
             "the watts of one source, or fix them";
    else if (one.members.size() == 2)
      what = "only " + relation(one) + " is determined: " + adviceFor(one);
    else
      what = "only combinations of " + enumerated(namesOf(one.members)) +
             " are determined: " + adviceFor(one);
    return what;
  }

  // Twice the watts into twice the capacities by half the resistances are the same temperatures.
  bool isCommonScale(const Undetermined& one) const {
    double sum = 0;
    double squares = 0;
    bool hasPower = false;
    for (size_t i = 0; i < one.members.size(); ++i) {
      const Kind kind = quantity(one.members[i]).kind;
      if (kind == Kind::kOffset || kind == Kind::kAmbient || kind == Kind::kLag) return false;
      hasPower |= kind == Kind::kWatts || kind == Kind::kIdle;
      sum += kind == Kind::kResistance ? -one.shares[i] : one.shares[i];
      squares += one.shares[i] * one.shares[i];
    }
    // (sum)^2 is at most n times the squares, and reaches it where all shares are the same.
    return hasPower && one.members.size() > 2 &&
           sum * sum > 0.9 * squares * static_cast<double>(one.members.size());
  }

  std::string relation(const Undetermined& one) const {
    const std::string both = nameOf(one.members[0]) + " and " + nameOf(one.members[1]);
    const bool logs =
        quantity(one.members[0]).byLogarithm() && quantity(one.members[1]).byLogarithm();
    const double a = one.shares[0];
    const double b = one.shares[1];
    if (!logs) return "a combination of " + both;
    // What stays the same along the direction is what the recordings determine: the sum where the
    // numbers themselves move against each other, the product where their logarithms do, and the
    // ratio where the logarithms move together.
    const double inA = one.changes[0];
    const double inB = one.changes[1];
    const bool alike = quantity(one.members[0]).kind == quantity(one.members[1]).kind;
    if (alike && std::abs(inA + inB) < 0.3 * (std::abs(inA) + std::abs(inB)))
      return "the sum of " + both;
    if (std::abs(a + b) < 0.3 * (std::abs(a) + std::abs(b))) return "the product of " + both;
    if (std::abs(a - b) < 0.3 * (std::abs(a) + std::abs(b))) return "the ratio of " + both;
    return "a combination of " + both;
  }

  std::string adviceFor(const Undetermined& one) const {
    std::vector<std::string> together;
    for (const size_t a : one.members)
      for (const size_t b : one.members)
        if (a < b && quantity(a).kind == Kind::kWatts && quantity(b).kind == Kind::kWatts &&
            courses.moveTogether(quantity(a).index, quantity(b).index))
          together = {sourceOf(a), sourceOf(b)};
    if (!together.empty())
      return enumerated(together) + " always moved together: step " + together.front() + " alone";
    for (const size_t i : one.members)
      if (quantity(i).kind == Kind::kWatts && !courses.moves(quantity(i).index))
        return sourceOf(i) + " was never moved: step it alone";
    if (const auto needed = longerThan()) return *needed;
    return advice(nodesOf(one.members), "what is recorded shows them together alone");
  }

  // Of a slow part nothing is seen in less than its time.
  std::optional<std::string> longerThan() const {
    std::vector<double> values;
    for (const Estimate& each : estimation.estimates)
      values.push_back(each.value);
    // The rates of the model are those of its modes; the smallest belongs to the slowest part.
    const ThermalModel model(withValues(plant, misfit.quantities, values), {});
    const double slowest = 1 / model.rates.minCoeff();
    double longest = 0;
    for (const Stretch& stretch : misfit.stretches)
      for (size_t i = 0; i < stretch.rows.size(); ++i) {
        const auto& [first, end] = stretch.rows[i];
        const auto& rows = misfit.recordings[stretch.recording].files[i].rows;
        if (end > first) longest = std::max(longest, rows[end - 1].time - rows[first].time);
      }
    if (longest > slowest) return std::nullopt;
    return fmt::format("the longest stretch, {:.0f} s, is too short beside the slowest time "
                       "constant, about {:.0f} s: record for longer",
                       longest, slowest);
  }

  std::set<size_t> nodesOf(const std::vector<size_t>& members) const {
    std::set<size_t> nodes;
    for (const size_t i : members) {
      const size_t index = quantity(i).index;
      if (quantity(i).kind == Kind::kCapacity) nodes.insert(index);
      if (quantity(i).kind == Kind::kOffset || quantity(i).kind == Kind::kLag)
        nodes.insert(plant.probes[index].node);
      if (quantity(i).kind == Kind::kResistance) {
        nodes.insert(plant.resistances[index].from);
        if (plant.resistances[index].to) nodes.insert(*plant.resistances[index].to);
      }
      if (quantity(i).kind == Kind::kWatts || quantity(i).kind == Kind::kIdle)
        for (const auto& [node, share] : plant.sources[index].heats)
          nodes.insert(node);
    }
    return nodes;
  }

  std::string advice(const std::set<size_t>& nodes, const std::string& why) const {
    std::vector<std::string> unread;
    std::vector<std::string> sources;
    for (const size_t node : nodes) {
      if (readNodes.count(node) == 0) unread.push_back(plant.nodes[node].name);
      for (const PlantDescription::Source& source : plant.sources)
        if (source.heats.size() == 1 && source.heats.front().first == node)
          sources.push_back(source.name);
    }
    std::vector<std::string> steps;
    if (!sources.empty()) steps.push_back("step " + sources.front() + " alone");
    if (!unread.empty()) steps.push_back("put a sensor on " + enumerated(unread));
    if (steps.empty()) return why;
    return why + ": " + steps.front() + (steps.size() > 1 ? ", or " + steps.back() : "");
  }

  const Misfit& misfit;
  const Estimation& estimation;
  const PlantDescription& plant;
  PowerCourses courses;
  std::set<size_t> readNodes;
};

} // namespace

std::vector<std::string> inWords(const Misfit& misfit, const Estimation& estimation) {
  std::vector<std::string> sentences;
  const Words words(misfit, estimation);
  for (const Undetermined& one : estimation.undetermined)
    sentences.push_back(words.of(one));
  return sentences;
}
