#include "runtime/Strategy.h"

#include <algorithm>

namespace schedule {
namespace {

// SplitMix64: small, and good for seeds that follow one another.
class Chance {
public:
  explicit Chance(uint64_t seed) : state(seed) {}

  uint64_t draw() {
    uint64_t z = state += 0x9e3779b97f4a7c15;
    z = (z ^ (z >> 30)) * 0xbf58476d1ce4e5b9;
    z = (z ^ (z >> 27)) * 0x94d049bb133111eb;
    return z ^ (z >> 31);
  }
  // From 0 to `bound` - 1.
  uint64_t below(uint64_t bound) { return draw() % bound; }
  bool once(uint64_t in) { return below(in) == 0; }

private:
  uint64_t state;
};

// What is the same for both kinds: now and then a deadline passes early or a wait ends for no
// reason.
class Random : public Strategy {
protected:
  Random(Chance chance_, uint64_t steps_) : chance(chance_), steps(steps_) {
    if (chance.once(3)) disturbances = 1 + chance.below(2);
    drawDisturbance();
  }

  bool isDisturbed(const Options& options) const { return options.step >= disturbedAt; }

  Choice disturb(const Options& options, Choice usual) {
    // At a step where the drawn kind is not possible, the next one that allows it is disturbed.
    if (early ? !options.deadlineAhead : options.waitingCount == 0) return usual;
    const Choice choice =
        early ? Choice{Choice::kLetDeadlinePass, -1}
              : Choice{Choice::kWakeForNoReason,
                       options.waiting[chance.below(static_cast<uint64_t>(options.waitingCount))]};
    drawDisturbance();
    return choice;
  }

  Chance chance;
  uint64_t steps;

private:
  void drawDisturbance() {
    disturbedAt = UINT64_MAX;
    if (disturbances == 0) return;
    --disturbances;
    disturbedAt = chance.below(steps);
    early = chance.once(2);
  }

  uint64_t disturbances = 0;
  uint64_t disturbedAt = UINT64_MAX;
  bool early = false;
};

// Of those that can run, the one of the highest priority runs. Priorities are random, and at a few
// random points the running one gets a lower one than all.
class Priorities : public Random {
public:
  Priorities(Chance chance_, uint64_t steps_) : Random(chance_, steps_) {
    for (int64_t& priority : priorities)
      priority = static_cast<int64_t>(chance.draw() >> 2);
    changeCount = 1 + chance.below(changes.size());
    for (size_t i = 0; i < changeCount; ++i)
      changes[i] = chance.below(steps);
  }

  Choice choose(const Options& options) override {
    if (options.current >= 0 && (options.yields || changesAt(options.step)))
      priorityOf(options.current) = --lowest;
    int best = options.current;
    for (int i = 0; i < options.otherCount; ++i) {
      const int other = options.others[static_cast<size_t>(i)];
      if (best < 0 || priorityOf(other) > priorityOf(best)) best = other;
    }
    const Choice usual = {Choice::kRun, best};
    return isDisturbed(options) ? disturb(options, usual) : usual;
  }

private:
  int64_t& priorityOf(int fiber) { return priorities[static_cast<size_t>(fiber)]; }

  bool changesAt(uint64_t step) const {
    return std::find(changes.begin(), changes.begin() + changeCount, step) !=
           changes.begin() + changeCount;
  }

  std::array<int64_t, kMostFibers> priorities;
  std::array<uint64_t, 4> changes;
  size_t changeCount;
  int64_t lowest = 0;
};

// At each point another one takes over with a fixed probability.
class Walk : public Random {
public:
  Walk(Chance chance_, uint64_t steps_) : Random(chance_, steps_) {
    static constexpr std::array<uint64_t, 4> kIn = {2, 5, 15, 50};
    in = kIn[chance.below(kIn.size())];
  }

  Choice choose(const Options& options) override {
    Choice usual = {Choice::kRun, options.current};
    const bool stays = options.current >= 0 && !options.yields && !chance.once(in);
    if (!stays && options.otherCount > 0)
      usual.fiber = options.others[chance.below(static_cast<uint64_t>(options.otherCount))];
    return isDisturbed(options) ? disturb(options, usual) : usual;
  }

private:
  uint64_t in;
};

} // namespace

std::unique_ptr<Strategy> Strategy::fromSeed(uint64_t seed, uint64_t steps) {
  Chance chance(seed);
  steps = std::max<uint64_t>(steps, 1);
  if (chance.once(3)) return std::make_unique<Walk>(chance, steps);
  return std::make_unique<Priorities>(chance, steps);
}

Choice Exhaustive::choose(const Options& options) {
  const bool goesOn = options.current >= 0 && !(options.yields && options.otherCount > 0);
  const bool mayPreempt = preemptions < mostPreemptions;
  const auto others = static_cast<uint32_t>(options.otherCount);
  uint32_t count = goesOn ? 1 : others;
  if (goesOn && mayPreempt) count += others;
  const uint32_t ordinary = count;
  if (mayPreempt && options.deadlineAhead) ++count;
  if (mayPreempt && wakeForNoReason) count += static_cast<uint32_t>(options.waitingCount);

  uint32_t taken = 0;
  if (count > 1) {
    if (depth == path.size()) path.push_back({0, count});
    taken = path[depth++].taken;
  }
  if (taken >= ordinary || (goesOn && taken > 0)) ++preemptions;
  if (taken < ordinary) {
    if (!goesOn) return {Choice::kRun, options.others[taken]};
    return {Choice::kRun, taken == 0 ? options.current : options.others[taken - 1]};
  }
  taken -= ordinary;
  if (options.deadlineAhead && taken-- == 0) return {Choice::kLetDeadlinePass, -1};
  return {Choice::kWakeForNoReason, options.waiting[taken]};
}

bool Exhaustive::advance() {
  path.resize(depth);
  depth = 0;
  preemptions = 0;
  while (!path.empty() && ++path.back().taken == path.back().count)
    path.pop_back();
  return !path.empty();
}

} // namespace schedule
