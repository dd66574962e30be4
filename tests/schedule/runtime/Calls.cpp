// The calls of the C library that threads are made of, in the place of the library's own: the
// standard library's classes end up here. Outside of a schedule they do nothing, or what the system
// does.

#include <sched.h>
#include <sys/syscall.h>
#include <time.h>
#include <unistd.h>

#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <string>

#include <pthread.h>

#include "runtime/Memory.h"
#include "runtime/Scheduler.h"
#include "runtime/Trace.h"

namespace {

constexpr int64_t kSecond = 1'000'000'000;
// Virtual time begins here, so that no deadline of the daemon is ever 0 or below.
constexpr int64_t kBegin = 1000 * kSecond;

int64_t deadlineOf(const timespec* time) {
  return time->tv_sec * kSecond + time->tv_nsec - kBegin;
}

bool inSchedule() {
  return schedule::currentFiber() >= 0;
}

int waitFor(pthread_cond_t* condition, pthread_mutex_t* mutex, int64_t deadline) {
  return schedule::wait(condition, mutex, deadline) ? 0 : ETIMEDOUT;
}

} // namespace

extern "C" {

int pthread_create(pthread_t* thread, const pthread_attr_t*, void* (*body)(void*), void* argument) {
  *thread = 0;
  // The handle is known before the new thread can run.
  *thread = static_cast<pthread_t>(schedule::fiberCount() + 1);
  schedule::create(body, argument);
  return 0;
}
int pthread_join(pthread_t thread, void**) {
  schedule::join(static_cast<int>(thread) - 1);
  return 0;
}
int pthread_detach(pthread_t) {
  return 0;
}

int pthread_mutex_lock(pthread_mutex_t* mutex) {
  schedule::lock(mutex);
  return 0;
}
int pthread_mutex_trylock(pthread_mutex_t* mutex) {
  return schedule::tryLock(mutex) ? 0 : EBUSY;
}
int pthread_mutex_unlock(pthread_mutex_t* mutex) {
  schedule::unlock(mutex);
  return 0;
}

int pthread_cond_wait(pthread_cond_t* condition, pthread_mutex_t* mutex) {
  return waitFor(condition, mutex, schedule::kNever);
}
int pthread_cond_timedwait(pthread_cond_t* condition, pthread_mutex_t* mutex,
                           const timespec* time) {
  return waitFor(condition, mutex, deadlineOf(time));
}
int pthread_cond_clockwait(pthread_cond_t* condition, pthread_mutex_t* mutex, clockid_t,
                           const timespec* time) {
  return waitFor(condition, mutex, deadlineOf(time));
}
int pthread_cond_signal(pthread_cond_t* condition) {
  schedule::notify(condition, false);
  return 0;
}
int pthread_cond_broadcast(pthread_cond_t* condition) {
  schedule::notify(condition, true);
  return 0;
}
int pthread_cond_destroy(pthread_cond_t*) {
  return 0;
}

int sched_yield() {
  schedule::yield();
  return 0;
}

int nanosleep(const timespec* time, timespec*) {
  if (inSchedule()) schedule::sleepUntil(schedule::now() + time->tv_sec * kSecond + time->tv_nsec);
  return 0;
}
int clock_nanosleep(clockid_t, int flags, const timespec* time, timespec*) {
  if (!inSchedule()) return 0;
  schedule::sleepUntil(flags == TIMER_ABSTIME
                           ? deadlineOf(time)
                           : schedule::now() + time->tv_sec * kSecond + time->tv_nsec);
  return 0;
}

int clock_gettime(clockid_t clock, timespec* time) {
  if (!inSchedule()) return static_cast<int>(::syscall(SYS_clock_gettime, clock, time));
  const int64_t now = kBegin + schedule::now();
  time->tv_sec = now / kSecond;
  time->tv_nsec = now % kSecond;
  return 0;
}

// An error in a configuration.
void _Exit(int) {
  if (inSchedule()) schedule::fail("the daemon ends itself");
  std::fprintf(stderr, "the daemon ends itself before its threads start\n");
  std::abort();
}

int __android_log_print(int, const char*, const char* format, ...) {
  if (!trace::isOn()) return 1;
  const memory::OnHeap heap;
  char text[256];
  va_list arguments;
  va_start(arguments, format);
  std::vsnprintf(text, sizeof text, format, arguments);
  va_end(arguments);
  std::string line = text;
  while (!line.empty() && line.back() == '\n')
    line.pop_back();
  schedule::logged(line);
  return 1;
}

} // extern "C"
