#include "runtime/Scheduler.h"

#include <signal.h>
#include <sys/mman.h>
#include <unistd.h>

#include <array>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include <pthread.h>
#include <setjmp.h>
#include <ucontext.h>

#include "runtime/Memory.h"
#include "runtime/Races.h"
#include "runtime/Trace.h"

namespace schedule {
namespace {

constexpr size_t kStackSize = size_t{128} << 10;
constexpr size_t kGuardSize = size_t{4} << 10;

struct Fiber {
  State state = State::kEnded;
  const void* object = nullptr; // what it waits for
  int64_t deadline = kNever;
  bool timedOut = false;
  int awaited = -1; // the fiber that it joins
  void* (*body)(void*) = nullptr;
  void* argument = nullptr;
  bool entered = false;
  bool fromArena = true;
  jmp_buf context;
  char* stack = nullptr; // kept from schedule to schedule
};

// The state of a mutex lies in the mutex itself, so that it comes and goes with the daemon's
// memory: all zero is unlocked, as the initialiser of the C library has it.
struct Lock {
  explicit Lock(void* mutex) : fields(static_cast<pthread_mutex_t*>(mutex)->__data) {}
  bool isHeld() const { return fields.__lock != 0; }
  bool isHeldBy(int fiber) const { return isHeld() && fields.__owner == fiber; }
  void take(int fiber) {
    fields.__lock = 1;
    fields.__owner = fiber;
  }
  void leave() {
    fields.__lock = 0;
    fields.__owner = 0;
  }

private:
  __pthread_mutex_s& fields;
};

std::array<Fiber, kMostFibers> fibers;
int count = 0;
int current = -1;
uint64_t step = 0;
uint64_t mostSteps = 0;
int64_t clock = 0;
bool hurried = false;
// Plain memory was accessed, or something was looked at, since the latest scheduling point.
bool movedSincePoint = true;
Strategy* strategy = nullptr;
Observer* observer = nullptr;
const std::function<void()>* firstBody = nullptr;
std::string failure;
sigjmp_buf outside;
bool underWay = false;

Fiber& fiberAt(int index) {
  return fibers[static_cast<size_t>(index)];
}

// The scheduler at work: no hook and no interposed call that it makes itself is the daemon's.
class AtWork {
public:
  AtWork() : fiber(current) { current = -1; }
  ~AtWork() { current = fiber; }

private:
  const memory::OnHeap heap;
  int fiber;
};

std::string nameOf(int fiber) {
  const AtWork work;
  return observer->nameOf(fiber);
}

void record(const std::string& what) {
  if (trace::isOn() && current >= 0) {
    const int fiber = current;
    const AtWork work;
    trace::add(step, clock, observer->nameOf(fiber), what);
  }
}

[[noreturn]] void leave() {
  current = -1;
  memory::fromArena = false;
  siglongjmp(outside, 1);
}

void enterFiber() {
  Fiber& fiber = fiberAt(current);
  fiber.body(fiber.argument);
  record("ends");
  if (current == 0) leave();
  fiber.state = State::kEnded;
  for (int i = 0; i < count; ++i) {
    if (fiberAt(i).state == State::kJoins && fiberAt(i).awaited == current)
      fiberAt(i).state = State::kRuns;
  }
  after();
  std::abort();
}

void switchTo(int next) {
  if (next == current) return;
  if (current >= 0) {
    fiberAt(current).fromArena = memory::fromArena;
    if (_setjmp(fiberAt(current).context)) return;
  }
  current = next;
  Fiber& fiber = fiberAt(next);
  memory::fromArena = fiber.fromArena;
  if (fiber.entered) _longjmp(fiber.context, 1);
  fiber.entered = true;
  ucontext_t context;
  ::getcontext(&context);
  context.uc_stack.ss_sp = fiber.stack;
  context.uc_stack.ss_size = kStackSize;
  context.uc_link = nullptr;
  ::makecontext(&context, enterFiber, 0);
  ::setcontext(&context);
  std::abort();
}

bool isTimed(const Fiber& fiber) {
  return (fiber.state == State::kAwaitsCondition || fiber.state == State::kSleeps) &&
         fiber.deadline != kNever;
}

int64_t earliestDeadline() {
  int64_t earliest = kNever;
  for (int i = 0; i < count; ++i) {
    if (isTimed(fiberAt(i))) earliest = std::min(earliest, fiberAt(i).deadline);
  }
  return earliest;
}

void moveClockTo(int64_t time) {
  clock = std::max(clock, time);
  for (int i = 0; i < count; ++i) {
    Fiber& fiber = fiberAt(i);
    if (!isTimed(fiber) || fiber.deadline > clock) continue;
    fiber.timedOut = fiber.state == State::kAwaitsCondition;
    fiber.state = State::kRuns;
  }
}

Options optionsNow(bool yields) {
  Options options;
  options.yields = yields;
  for (int i = 0; i < count; ++i) {
    const Fiber& fiber = fiberAt(i);
    if (fiber.state == State::kRuns) {
      if (i == current)
        options.current = i;
      else
        options.others[static_cast<size_t>(options.otherCount++)] = i;
    } else if (fiber.state == State::kAwaitsCondition) {
      options.waiting[static_cast<size_t>(options.waitingCount++)] = i;
    }
    options.deadlineAhead |= isTimed(fiber);
  }
  return options;
}

void standStill() {
  const AtWork work;
  observer->atRest();
}

// Nobody can run: the clock moves on to the next deadline.
void passTime() {
  standStill();
  const int64_t next = earliestDeadline();
  if (next == kNever) fail("deadlock: everybody waits, and for no time");
  moveClockTo(next);
}

Choice chosenBy(const Options& options) {
  const memory::OnHeap heap;
  return strategy->choose(options);
}

// Gives way to whom the strategy chooses. Returns when the fiber that called goes on.
void giveWay(bool yields) {
  if (++step > mostSteps) fail("livelock: the schedule does not come to its end");
  for (;;) {
    const Options options = optionsNow(yields);
    if (options.current < 0 && options.otherCount == 0) {
      passTime();
      continue;
    }
    const Choice choice = chosenBy(options);
    if (choice.kind == Choice::kRun) {
      switchTo(choice.fiber);
      movedSincePoint = true;
      return;
    }
    if (choice.kind == Choice::kLetDeadlinePass) {
      hurried = true;
      record("(the clock moves on while threads could still run)");
      moveClockTo(earliestDeadline());
    } else {
      if (trace::isOn()) record("(a wait of " + nameOf(choice.fiber) + " ends for no reason)");
      fiberAt(choice.fiber).state = State::kRuns;
    }
  }
}

// The current fiber cannot go on.
void block(State state, const void* object, int64_t deadline) {
  Fiber& fiber = fiberAt(current);
  fiber.state = state;
  fiber.object = object;
  fiber.deadline = deadline;
  fiber.timedOut = false;
  giveWay(false);
}

void wakeAwaitingMutex(const void* mutex) {
  for (int i = 0; i < count; ++i) {
    Fiber& fiber = fiberAt(i);
    if (fiber.state == State::kAwaitsMutex && fiber.object == mutex) fiber.state = State::kRuns;
  }
}

void takeMutex(void* mutex) {
  Lock lock(mutex);
  while (lock.isHeld()) {
    if (lock.isHeldBy(current)) fail("a thread locks a mutex that it holds");
    block(State::kAwaitsMutex, mutex, kNever);
  }
  lock.take(current);
  races::acquire(current, mutex);
}

void leaveMutex(void* mutex) {
  Lock lock(mutex);
  if (!lock.isHeldBy(current)) fail("a thread unlocks a mutex that it does not hold");
  lock.leave();
  races::release(current, mutex, races::Release::kReplaces);
  wakeAwaitingMutex(mutex);
}

std::string described(const volatile void* object) {
  const std::string known = observer->describe(object);
  if (!known.empty()) return known;
  std::array<char, 32> text;
  std::snprintf(text.data(), text.size(), "%p", const_cast<const void*>(object));
  return text.data();
}

void recordOn(const char* operation, const volatile void* object, const std::string& value = {}) {
  if (!trace::isOn() || current < 0) return;
  std::string what;
  {
    const AtWork work;
    what = std::string(operation) + " " + described(object) + value;
  }
  record(what);
}

void checkRace(const char* action, const volatile void* address, size_t size, bool writes) {
  const int other = races::access(current, memory::offsetOf(address), size, writes);
  if (other == races::kNone) return;
  recordOn("RACE:", address);
  const int fiber = current;
  const AtWork work;
  fail("data race: " + observer->nameOf(fiber) + action + described(address) + " while " +
       observer->nameOf(other) + " may access it");
}

void* runFirst(void*) {
  (*firstBody)();
  return nullptr;
}

void onCrash(int signal) {
  memory::fromArena = false;
  if (failure.empty()) failure = std::string("crash: ") + ::strsignal(signal);
  if (!underWay) {
    std::fprintf(stderr, "the scheduler itself crashes: %s\n", ::strsignal(signal));
    ::_exit(2);
  }
  leave();
}

void catchCrashes() {
  static bool done = false;
  if (done) return;
  done = true;
  static std::array<char, 64 << 10> stack;
  stack_t alternate = {};
  alternate.ss_sp = stack.data();
  alternate.ss_size = stack.size();
  ::sigaltstack(&alternate, nullptr);
  struct sigaction action = {};
  action.sa_handler = onCrash;
  action.sa_flags = SA_ONSTACK | SA_NODEFER;
  for (const int signal : {SIGSEGV, SIGBUS, SIGILL, SIGFPE, SIGABRT})
    ::sigaction(signal, &action, nullptr);
}

char* newStack() {
  const size_t size = kGuardSize + kStackSize;
  void* const got = ::mmap(nullptr, size, PROT_READ | PROT_WRITE,
                           MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
  if (got == MAP_FAILED) std::abort();
  ::mprotect(got, kGuardSize, PROT_NONE);
  return static_cast<char*>(got) + kGuardSize;
}

} // namespace

Outcome run(Strategy& strategy_, Observer& observer_, const std::function<void()>& body,
            const Limits& limits) {
  catchCrashes();
  strategy = &strategy_;
  observer = &observer_;
  firstBody = &body;
  mostSteps = limits.mostSteps;
  count = 0;
  step = 0;
  clock = 0;
  hurried = false;
  movedSincePoint = true;
  failure.clear();
  create(runFirst, nullptr);
  fiberAt(0).fromArena = false;
  underWay = true;
  if (sigsetjmp(outside, 1) == 0) switchTo(0);
  underWay = false;
  return {failure, step};
}

void fail(const std::string& what) {
  memory::fromArena = false;
  if (!underWay) {
    std::fprintf(stderr, "outside of a schedule: %s\n", what.c_str());
    std::abort();
  }
  if (failure.empty()) failure = what;
  leave();
}

int currentFiber() {
  return current;
}
uint64_t currentStep() {
  return step;
}
int64_t now() {
  return clock;
}
bool hasHurried() {
  return hurried;
}
int fiberCount() {
  return count;
}
Standing standingOf(int fiber) {
  return {fiberAt(fiber).state, fiberAt(fiber).object, fiberAt(fiber).deadline};
}

void before(const char* operation, const volatile void* object, Effect effect, int64_t value) {
  if (current < 0) return;
  if (movedSincePoint) giveWay(false);
  movedSincePoint = effect == Effect::kLooks;
  if (trace::isOn())
    recordOn(operation, object,
             effect == Effect::kChanges ? " = " + std::to_string(value) : std::string());
}

void after() {
  if (current < 0) return;
  giveWay(false);
  movedSincePoint = false;
}

void synchronise(const volatile void* object, Order order) {
  if (current < 0) return;
  if (order != Order::kRelease) races::acquire(current, object);
  if (order == Order::kRelease) races::release(current, object, races::Release::kReplaces);
  if (order == Order::kBoth) races::release(current, object, races::Release::kAdds);
}

void accessed(const volatile void* address, size_t size, bool writes) {
  if (current < 0 || !memory::inArena(address)) return;
  checkSound(address, size, writes);
  movedSincePoint = true;
  checkRace(writes ? " writes " : " reads ", address, size, writes);
}

void yield() {
  if (current < 0) return;
  record("yields");
  giveWay(true);
}

void sleepUntil(int64_t deadline) {
  record("sleeps");
  block(State::kSleeps, nullptr, deadline);
}

int create(void* (*body)(void*), void* argument) {
  if (count == kMostFibers) {
    std::fprintf(stderr, "too many threads\n");
    std::abort();
  }
  Fiber& fiber = fiberAt(count);
  char* const stack = fiber.stack ? fiber.stack : newStack();
  fiber = Fiber();
  fiber.stack = stack;
  fiber.state = State::kRuns;
  fiber.body = body;
  fiber.argument = argument;
  const int created = count++;
  races::starts(created, current);
  if (current >= 0) {
    record("starts a thread");
    after();
  }
  return created;
}

void join(int fiber) {
  if (trace::isOn()) record("joins " + nameOf(fiber));
  giveWay(false);
  if (fiberAt(fiber).state != State::kEnded) {
    fiberAt(current).awaited = fiber;
    block(State::kJoins, nullptr, kNever);
  }
  races::joins(current, fiber);
}

void lock(void* mutex) {
  if (current < 0) return;
  checkSound(mutex, sizeof(pthread_mutex_t), true);
  before("lock", mutex, Effect::kLooks);
  takeMutex(mutex);
}

bool tryLock(void* mutex) {
  if (current < 0) return true;
  checkSound(mutex, sizeof(pthread_mutex_t), true);
  giveWay(false);
  Lock lock(mutex);
  const bool free = !lock.isHeld();
  recordOn(free ? "try_lock, taken," : "try_lock, refused,", mutex);
  if (!free) return false;
  lock.take(current);
  races::acquire(current, mutex);
  return true;
}

void unlock(void* mutex) {
  if (current < 0) return;
  checkSound(mutex, sizeof(pthread_mutex_t), true);
  recordOn("unlock", mutex);
  leaveMutex(mutex);
  after();
}

bool wait(void* condition, void* mutex, int64_t deadline) {
  if (current < 0) fail("a wait outside of a schedule");
  checkSound(condition, sizeof(pthread_cond_t), true);
  giveWay(false);
  recordOn(deadline == kNever ? "wait for" : "timed wait for", condition);
  {
    const int fiber = current;
    const AtWork work;
    observer->waits(fiber, condition, deadline);
  }
  leaveMutex(mutex);
  block(State::kAwaitsCondition, condition, deadline);
  const bool timedOut = fiberAt(current).timedOut;
  takeMutex(mutex);
  recordOn(timedOut ? "deadline ran out at" : "woken at", condition);
  return !timedOut;
}

void notify(void* condition, bool all) {
  if (current < 0) return;
  checkSound(condition, sizeof(pthread_cond_t), true);
  before("notify", condition, Effect::kLooks);
  for (int i = 0; i < count; ++i) {
    Fiber& fiber = fiberAt(i);
    if (fiber.state != State::kAwaitsCondition || fiber.object != condition) continue;
    fiber.state = State::kRuns;
    if (!all) break;
  }
  after();
}

void aboutToFree(const void* block, size_t size) {
  if (current < 0) return;
  const int fiber = current;
  const auto* const first = static_cast<const char*>(block);
  for (int i = 0; i < count; ++i) {
    const Fiber& other = fiberAt(i);
    const auto* const object = static_cast<const char*>(other.object);
    const bool waits = other.state == State::kAwaitsMutex || other.state == State::kAwaitsCondition;
    if (i != fiber && waits && object >= first && object < first + size)
      fail("freed with a thread waiting in it: " + nameOf(i));
  }
  checkRace(" frees ", block, size, true);
  const AtWork work;
  observer->frees(block, size);
}

void checkSound(const volatile void* address, size_t size, bool writes) {
  if (current < 0 || memory::isSound(address, size)) return;
  const memory::Block block = memory::blockAround(address);
  recordOn(writes ? "WRITES UNSOUND MEMORY" : "READS UNSOUND MEMORY", address);
  const memory::OnHeap heap;
  std::string what = nameOf(current);
  what += writes ? " writes " : " reads ";
  what += block.freed ? "memory freed by " + nameOf(block.freedBy) + " (" +
                            std::to_string(block.size) + " bytes)"
                      : std::string("memory outside of any block");
  fail(what);
}

void logged(const std::string& line) {
  record("logs " + line);
}

Quiet::Quiet() : fiber(current) {
  current = -1;
}
Quiet::~Quiet() {
  current = fiber;
}

} // namespace schedule
