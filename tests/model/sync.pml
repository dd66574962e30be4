/* What the C++ library does, in the steps that other threads can tell apart, and what all models
 * share.
 *
 * Shape: a mutex holds its owner's process number plus 1, or FREE. A condition variable has one
 *        waiter at most, and holds whether it waits. */

#define FREE 0
#define WAITING 1

/* An assertion that says by its name what has gone wrong. */
#define never(wrong, condition) wrong = ((condition) != 0); assert(!wrong)

/* How many waits may still end although nobody notified them. */
byte spurious;

inline lock(mutex) {
  d_step { mutex == FREE -> mutex = _pid + 1 }
}

inline unlock(mutex) {
  d_step { assert(mutex == _pid + 1); mutex = FREE }
}

inline wait(cond, mutex) {
  d_step { assert(mutex == _pid + 1 && cond != WAITING); mutex = FREE; cond = WAITING };
  if
  :: cond != WAITING
  :: d_step { cond == WAITING && spurious > 0 -> spurious--; cond = 0 }
  fi;
  lock(mutex)
}

inline notify(cond) {
  cond = 0
}
