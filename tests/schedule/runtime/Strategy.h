#pragma once

#include <array>
#include <cstdint>
#include <memory>
#include <vector>

namespace schedule {

constexpr int kMostFibers = 24;

// What may happen next at a scheduling point.
struct Options {
  // The fiber that has come to the point, or -1 if it cannot go on.
  int current = -1;
  // It has asked for another one to run.
  bool yields = false;
  // Others that can run, by their numbers in ascending order.
  std::array<int, kMostFibers> others;
  int otherCount = 0;
  // Fibers that wait for a condition and may be woken without a reason.
  std::array<int, kMostFibers> waiting;
  int waitingCount = 0;
  // Whether a deadline lies ahead that could run out although somebody can still run.
  bool deadlineAhead = false;
};

// What happens next: a fiber runs, the earliest deadline runs out early, or a wait ends for no
// reason.
struct Choice {
  enum Kind { kRun, kLetDeadlinePass, kWakeForNoReason } kind;
  int fiber;
};

// Decides at each scheduling point of one schedule. Equal seeds, equal decisions.
class Strategy {
public:
  virtual ~Strategy() = default;

  Choice choose(const Options& options) {
    if (options.current >= 0 && options.otherCount > 0) ++contended;
    return chooseNext(options);
  }

  // At how many points so far the running fiber could go on and another one, too.
  uint64_t contendedPoints() const { return contended; }

  // A strategy drawn from the seed, for a scene of about `length` contended points: mostly random
  // priorities with a few points at which they change, sometimes a walk by chance.
  static std::unique_ptr<Strategy> fromSeed(uint64_t seed, uint64_t length);

protected:
  Strategy() = default;

private:
  virtual Choice chooseNext(const Options& options) = 0;

  uint64_t contended = 0;
};

// All schedules with at most a number of preemptions, depth first. A preemption is whatever departs
// from the usual course, in which a thread goes on until it has to wait and the one created first
// of those that can run follows: another thread in its place, a deadline that passes early and, if
// asked for, a wake-up for no reason.
class Exhaustive : public Strategy {
public:
  Exhaustive(int mostPreemptions_, bool wakeForNoReason_)
      : mostPreemptions(mostPreemptions_), wakeForNoReason(wakeForNoReason_) {}

  // Turns to the next schedule; false when there is none.
  bool advance();

private:
  Choice chooseNext(const Options& options) override;

  struct Branch {
    uint32_t taken;
    uint32_t count;
  };

  int mostPreemptions;
  bool wakeForNoReason;
  std::vector<Branch> path;
  size_t depth = 0;
  int preemptions = 0;
};

} // namespace schedule
