#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>

#include "runtime/Strategy.h"

// Runs the threads of the daemon as fibers, one at a time, in virtual time. Every access to an
// atomic, a mutex, a condition variable and every timed wait of the instrumented code comes here
// and is a scheduling point, at which a `Strategy` says who goes on.
//
// Units:   times in nanoseconds since the schedule began.
// Threads: one thread of the system.
namespace schedule {

constexpr int64_t kNever = INT64_MAX;

// What a scene adds to a schedule. Called with the daemon standing still: what these functions do
// is no part of the schedule.
class Observer {
public:
  virtual ~Observer() = default;

  // Everybody waits, and the clock is about to move on.
  virtual void atRest() = 0;
  // A fiber begins a timed wait on a condition, or goes on with one, or begins an untimed one
  // (`kNever`).
  virtual void waits(int fiber, const void* condition, int64_t deadline) = 0;
  // A block of the daemon's memory is about to be freed.
  virtual void frees(const void* block, size_t size) = 0;
  // For the trace: what the fiber is called, and what lies at the address; empty if not known.
  virtual std::string nameOf(int fiber) = 0;
  virtual std::string describe(const volatile void* address) = 0;

protected:
  Observer() = default;
};

struct Limits {
  // More scheduling points than this count as a livelock.
  uint64_t mostSteps = 200'000;
};

struct Outcome {
  std::string failure; // empty: none
  uint64_t steps = 0;
};

// Runs one schedule: `body` is the first fiber, and the schedule ends with it, whatever the others
// do then.
Outcome run(Strategy& strategy, Observer& observer, const std::function<void()>& body,
            const Limits& limits = {});

// Ends the schedule that is under way as failed.
[[noreturn]] void fail(const std::string& what);

// The fiber that runs now, -1 outside of a schedule and while the scheduler itself works.
int currentFiber();
uint64_t currentStep();
int64_t now();

// Whether a deadline has been let pass in this schedule while somebody could still run: then no
// thread can be held to a time.
bool hasHurried();

// What a fiber is waiting for.
enum class State { kRuns, kAwaitsMutex, kAwaitsCondition, kSleeps, kJoins, kEnded };
struct Standing {
  State state;
  const void* object;
  int64_t deadline;
};
int fiberCount();
Standing standingOf(int fiber);

// The scheduling points and what the interposed calls are made of. For a fiber.
enum class Effect { kLooks, kChanges };
void before(const char* operation, const volatile void* object, Effect effect, int64_t value = 0);
// Behind a change, so that somebody may run before the plain accesses that follow it.
void after();
// What an access to an atomic orders. Behind `before`, in the same step as the access.
enum class Order { kAcquire, kRelease, kBoth };
void synchronise(const volatile void* object, Order order);
// Plain memory is accessed: it must be sound, and no other fiber's access may race with this one.
void accessed(const volatile void* address, size_t size, bool writes);
// Fails if a block that is freed is accessed, or something outside of any.
void checkSound(const volatile void* address, size_t size, bool writes);
void yield();
void sleepUntil(int64_t deadline);
int create(void* (*body)(void*), void* argument);
void join(int fiber);
void lock(void* mutex);
bool tryLock(void* mutex);
void unlock(void* mutex);
// Returns false if the deadline ran out.
bool wait(void* condition, void* mutex, int64_t deadline);
void notify(void* condition, bool all);

// Called by the memory.
void aboutToFree(const void* block, size_t size);

// Adds a line that the daemon logs to the trace.
void logged(const std::string& line);

// While one of these lives the hooks do nothing: for an observer that calls into the daemon's code.
class Quiet {
public:
  Quiet();
  ~Quiet();
  Quiet(const Quiet&) = delete;
  Quiet& operator=(const Quiet&) = delete;

private:
  int fiber;
};

} // namespace schedule
