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

// Contended points that count as close to one another.
constexpr uint64_t kClose = 30;

// Ends a wait for no reason now and then.
class Wakes {
public:
  Wakes(Chance& chance, uint64_t length) {
    if (!chance.once(3)) return;
    count = 1 + chance.below(points.size());
    for (size_t i = 0; i < count; ++i)
      points[i] = chance.below(length);
  }

  // Where nobody waits, the next one that has somebody is meant.
  bool isDue(const Options& options, uint64_t now) {
    if (options.waitingCount == 0) return false;
    for (size_t i = 0; i < count; ++i) {
      if (points[i] > now) continue;
      points[i] = UINT64_MAX;
      return true;
    }
    return false;
  }

  static Choice wake(const Options& options, Chance& chance) {
    const auto waiting = static_cast<uint64_t>(options.waitingCount);
    return {Choice::kWakeForNoReason, options.waiting[chance.below(waiting)]};
  }

private:
  std::array<uint64_t, 2> points;
  size_t count = 0;
};

// Of those that can run, the one of the highest priority runs. Priorities are random, and at a few
// random points the running one is set back behind all: most often close to one another, since
// what two threads do to each other they do within a few steps. In some schedules the clock, too,
// moves on a few times before those that were set back may run.
class Priorities : public Strategy {
public:
  Priorities(Chance chance_, uint64_t length) : chance(chance_), wakes(chance, length) {
    for (int64_t& priority : priorities)
      priority = static_cast<int64_t>(chance.draw() >> 2);
    changeCount = 1 + chance.below(changes.size());
    const bool close = !chance.once(3);
    for (size_t i = 0; i < changeCount; ++i)
      changes[i] = close && i > 0 ? changes[0] + chance.below(kClose) : chance.below(length);
    if (chance.once(2)) ticks = 1 + chance.below(3);
  }

  Choice chooseNext(const Options& options) override {
    if (wakes.isDue(options, contendedPoints())) return Wakes::wake(options, chance);
    if (options.current >= 0 && isChange(contendedPoints())) priorityOf(options.current) = --lowest;
    if (options.current >= 0 && options.yields) priorityOf(options.current) = --lowest;
    int best = options.current;
    for (int i = 0; i < options.otherCount; ++i) {
      const int other = options.others[static_cast<size_t>(i)];
      if (best < 0 || priorityOf(other) > priorityOf(best)) best = other;
    }
    if (priorityOf(best) < 0 && ticks > 0 && options.deadlineAhead) {
      --ticks;
      return {Choice::kLetDeadlinePass, -1};
    }
    return {Choice::kRun, best};
  }

private:
  int64_t& priorityOf(int fiber) { return priorities[static_cast<size_t>(fiber)]; }

  bool isChange(uint64_t step) const {
    const auto end = changes.begin() + changeCount;
    return std::find(changes.begin(), end, step) != end;
  }

  Chance chance;
  Wakes wakes;
  std::array<int64_t, kMostFibers> priorities; // below 0: set back
  std::array<uint64_t, 4> changes;
  size_t changeCount;
  int64_t lowest = 0;
  uint64_t ticks = 0;
};

// At each point another one takes over with a fixed probability: throughout, or in a short stretch
// alone.
class Walk : public Strategy {
public:
  Walk(Chance chance_, uint64_t length) : chance(chance_), wakes(chance, length) {
    static constexpr std::array<uint64_t, 4> kIn = {2, 5, 15, 50};
    in = kIn[chance.below(kIn.size())];
    if (!chance.once(3)) {
      from = chance.below(length);
      to = from + kClose;
    }
    if (chance.once(3)) tickAt = chance.below(length);
  }

  Choice chooseNext(const Options& options) override {
    if (wakes.isDue(options, contendedPoints())) return Wakes::wake(options, chance);
    if (contendedPoints() >= tickAt && options.deadlineAhead) {
      tickAt = UINT64_MAX;
      return {Choice::kLetDeadlinePass, -1};
    }
    const bool changes = contendedPoints() >= from && contendedPoints() < to && chance.once(in);
    const bool stays = options.current >= 0 && !options.yields && !changes;
    if (stays || options.otherCount == 0) return {Choice::kRun, options.current};
    const auto others = static_cast<uint64_t>(options.otherCount);
    return {Choice::kRun, options.others[chance.below(others)]};
  }

private:
  Chance chance;
  Wakes wakes;
  uint64_t in;
  uint64_t from = 0;
  uint64_t to = UINT64_MAX;
  uint64_t tickAt = UINT64_MAX;
};

} // namespace

std::unique_ptr<Strategy> Strategy::fromSeed(uint64_t seed, uint64_t length) {
  Chance chance(seed);
  length = std::max<uint64_t>(length, 1);
  if (chance.once(3)) return std::make_unique<Walk>(chance, length);
  return std::make_unique<Priorities>(chance, length);
}

Choice Exhaustive::chooseNext(const Options& options) {
  // The first branch is the usual one: who runs goes on, or else the first that can.
  std::array<Choice, 2 * kMostFibers + 2> branches;
  size_t count = 0;
  const auto add = [&](Choice::Kind kind, int fiber) { branches[count++] = {kind, fiber}; };
  const bool goesOn = options.current >= 0 && !options.yields;
  if (goesOn) add(Choice::kRun, options.current);
  for (int i = 0; i < options.otherCount; ++i)
    add(Choice::kRun, options.others[static_cast<size_t>(i)]);
  if (!goesOn && options.current >= 0) add(Choice::kRun, options.current);
  if (options.deadlineAhead) add(Choice::kLetDeadlinePass, -1);
  for (int i = 0; wakeForNoReason && i < options.waitingCount; ++i)
    add(Choice::kWakeForNoReason, options.waiting[static_cast<size_t>(i)]);
  if (count == 1 || preemptions == mostPreemptions) return branches[0];

  if (depth == path.size()) path.push_back({0, static_cast<uint32_t>(count)});
  const uint32_t taken = path[depth++].taken;
  if (taken > 0) ++preemptions;
  return branches[taken];
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
