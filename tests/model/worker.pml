/* A worker of algorithms, the sensor threads that wake and retire its items, and the scenario thread
 * that has woken items decide, frees what is retired and stops a worker that is left empty.
 *
 * MONITOR, SS  the kind of the items
 * LEVELS       how many levels a monitor has, 1 or 2
 * STAYS        the worker has an item of the new configuration too, on a sensor of another thread,
 *              and goes on
 * MARKED       the new configuration's item carries the retired mark: woken and freed in one swap
 * AGAIN        before the swap the item's scenario may be left and entered again; meanwhile a
 *              namesake may take its request away
 */

#include "sync.pml"

#define WORKERS 1
#define WORKER 0
bool workerFreed;

/* What must never be. */
bool freedWorkerTouched, freedItemTouched, freedWithItsRequest, countTooLow, countTooHigh,
     requestLeftBehind, callerHeldUpThroughAPeriod, notStopped, freedBeforeItsEnd, asleepOverAnItem,
     nobodyWillEverMove;

byte leaked;              /* counts too many */
#define countChanged(w) never(freedWorkerTouched, workerFreed)
#ifdef AGAIN
/* A decision that has begun before its scenario was left, and goes on after it has been entered
 * again, may put the item to sleep between its waking and its counting. Accepted: it takes a
 * decision that stands still through two changes, and costs a worker that makes empty passes. */
#define deactivatedAtZero(w) leaked++
#else
#define deactivatedAtZero(w) never(countTooLow, true)
#endif

#include "thermal_thread.pml"

#define RETIRED 0
#define KEPT 1
#ifdef STAYS
#define ITEMS 2
#else
#define ITEMS 1
#endif
#define BIT(i) (1 << (i))

byte hot[ITEMS];          /* its sensor's temperature, as the level that it calls for */
bool awake[ITEMS];        /* Algo::active */
bool undecided[ITEMS];
byte status[ITEMS];
bool hasPosted[ITEMS];    /* SS */
bool returned[ITEMS];     /* Monitor */
bool inForce[ITEMS];
byte request[ITEMS];      /* what the devices hold for the item: each level has a device, and a bit */

/* The list, as ItemList promises it: a walk sees what was published when it began. */
byte published = BIT(ITEMS) - 1;
byte walked;
bool walking;

byte sleepCond;
bool stopRequested;

/* What the model watches. */
bool freed[ITEMS];
bool bodyReturned;
bool stopping;
byte passesSinceStop;
byte taken, left, sensorsDone;
bool letGo, scenarioDone;

#define touch(i) never(freedItemTouched, freed[i])

#define AWAKE_ITEMS ((awake[RETIRED] && !freed[RETIRED]) + (ITEMS == 2 && awake[ITEMS - 1]))

/* Between two passes, when nobody else is at it: the count is that of the items awake, and an item
 * asleep holds no device. */
#define atRest() \
  if \
  :: sensorsDone == ITEMS && scenarioDone -> \
     never(countTooLow, activeCount[WORKER] < AWAKE_ITEMS + leaked); \
     never(countTooHigh, activeCount[WORKER] > AWAKE_ITEMS + leaked); \
     never(requestLeftBehind, request[ITEMS - 1] && !awake[ITEMS - 1]) \
  :: else \
  fi

/* In src/sensor/Algo.cpp: void Algo::activate() */
inline activateItem(i, flag) {
  d_step { touch(i); awake[i] = true }; /*> active = true; */
  activate(WORKER, flag)         /*> thread->activate(); */
}

/* In src/sensor/Algo.cpp: void Algo::fallAsleep() */
inline fallAsleep(i, flag) {
#ifdef TWO_FALL_ASLEEP_AT_ONCE
  flag = awake[i];
  awake[i] = false;
#else
  d_step { touch(i); flag = awake[i]; awake[i] = false }; /*> if (active.exchange(false)) thread->deactivate(); */
#endif
  if
  :: flag -> deactivate(WORKER)  /*- the rest of that statement */
  :: else
  fi
}

/* Device::deviceControl, withdraw and statusApply hold the device's mutex. */
inline post(i, level) {
  d_step { touch(i); request[i] = request[i] | BIT(level) }
}

inline withdraw(i, level) {
  d_step { touch(i); request[i] = request[i] & ~BIT(level) }
}

/* Values that nobody reads any more would keep equal states apart. */
inline withdrawPosted(i, posted) {
  d_step { touch(i); request[i] = request[i] & ~BIT(posted); posted = 0 }
}

#ifdef MONITOR

/* In src/algo/Monitor.cpp: void Monitor::deactivate() */
inline deactivateItem(i, posted, flag) {
  if
  :: status[i] == 0              /*> if (status == 0) return; */
  :: else ->
#ifdef WITHDRAWN_BEFORE_ASLEEP
     d_step { touch(i); posted = status[i]; status[i] = 0 };
     if
     :: posted -> withdrawPosted(i, posted)
     :: else
     fi;
     fallAsleep(i, flag)
#else
     fallAsleep(i, flag);        /*> fallAsleep(); */
     d_step { touch(i); posted = status[i]; status[i] = 0 }; /*> const uint32_t level = status.exchange(0); */
     if
     :: posted -> withdrawPosted(i, posted) /*> withdraw(level); */
     :: else
     fi
#endif
  fi
}

/* In src/algo/Monitor.cpp: void Monitor::moveTo(uint32_t newLevel, uint32_t oldLevel) */
inline moveTo(i, newLevel, oldLevel) {
#ifdef LEVEL_STORED_BEFORE_ITS_POST
  d_step { touch(i); status[i] = newLevel };
#endif
  if
  :: oldLevel -> withdraw(i, oldLevel) /*> withdraw(oldLevel); */
  :: else
  fi;
  post(i, newLevel);             /*> post(newLevel); */
#ifndef LEVEL_STORED_BEFORE_ITS_POST
  d_step { touch(i); status[i] = newLevel } /*> status = newLevel; */
#endif
}

/* In src/algo/Monitor.cpp: void Monitor::takeBack(uint32_t level) */
inline takeBack(i, level) {
  if
  :: request[i] & BIT(level)     /*> if (device.holds(*this)) return; */
  :: else ->
     post(i, level);             /*> device.deviceControl(*this, wanted); */
#ifndef TAKEN_BACK_FOR_GOOD
     d_step { touch(i); status[i] = level } /*> status = level; */
#endif
  fi
}

/* In src/algo/Monitor.cpp: int Monitor::decision() */
inline decision(i, temp, level, posted, flag) {
  d_step { touch(i); temp = hot[i] }; /*> const int32_t temp = readTemp(); */
  level = status[i];             /*> const uint32_t oldLevel = status; */
  d_step { flag = returned[i]; returned[i] = 0 }; /*> const bool justReturned = returned.exchange(false); */
  if
  :: temp == level && flag && level -> takeBack(i, level) /*> if (justReturned) takeBack(newLevel); */
  :: temp != level && temp -> moveTo(i, temp, level) /*> moveTo(newLevel, oldLevel); */
  :: temp != level && !temp -> deactivateItem(i, posted, flag) /*> deactivate(); */
  :: else
  fi;
  d_step { undecided[i] = false; temp = 0; level = 0; flag = 0 } /*> undecided = false; */
}

/* In src/algo/Monitor.cpp: void Monitor::withdrawIfAsleep() */
inline withdrawIfAsleep(i, posted, flag) {
  d_step { touch(i) };        /*- every access below */
  if
  :: awake[i] || status[i] == 0  /*> if (active || status == 0) return; */
  :: else ->
     d_step { posted = status[i]; status[i] = 0 }; /*> const uint32_t posted = status.exchange(0); */
     if
     :: posted -> withdrawPosted(i, posted) /*> withdraw(posted); */
     :: else
     fi
  fi
}

#else

/* In src/algo/SS.cpp: void SS::release() */
inline releaseDevice(i) {
  d_step { touch(i); status[i] = 0 }; /*> status = 0; */
  withdraw(i, 1)                 /*> device->withdraw(*this); */
}

/* In src/algo/SS.cpp: void SS::deactivate() */
inline deactivateItem(i, posted, flag) {
#ifdef WITHDRAWN_BEFORE_ASLEEP
  releaseDevice(i);
  fallAsleep(i, flag)
#else
  fallAsleep(i, flag);           /*> fallAsleep(); */
  releaseDevice(i)               /*> release(); */
#endif
}

/* In src/algo/SS.cpp: int SS::decision() */
inline decision(i, temp, level, posted, flag) {
  d_step { touch(i); temp = hot[i] }; /*> const int32_t temp = readTemp(); */
  level = status[i];             /*> const uint32_t steps = status; */
  if
  :: !temp ->                    /*> if (temp < clearTemp) { */
     deactivateItem(i, posted, flag)     /*> deactivate(); */
  :: temp && !level ->           /*> if (newSteps != static_cast<int32_t>(steps)) { */
     d_step { touch(i); status[i] = 1 }; /*> status = static_cast<uint32_t>(newSteps); */
     post(i, 1);                 /*> device->deviceControl(*this, request); */
     hasPosted[i] = true         /*> hasPosted = true; */
  :: else
  fi;
  d_step { undecided[i] = false; temp = 0; level = 0; flag = 0 } /*> undecided = false; */
}

/* In src/algo/SS.cpp: void SS::withdrawIfAsleep() */
inline withdrawIfAsleep(i, posted, flag) {
  d_step { touch(i) };        /*- every access below */
  if
  :: hasPosted[i] && !awake[i] -> releaseDevice(i) /*> if (hasPosted && !active) release(); */
  :: else
  fi;
  hasPosted[i] = false           /*> hasPosted = false; */
}

#endif

/* In src/thread/AlgoThread.h: static void decide(T& item) */
inline decide(i, temp, level, posted, flag) {
  decision(i, temp, level, posted, flag); /*> item.decision(); */
#ifndef NO_WITHDRAWAL_AFTER_DECISION
  withdrawIfAsleep(i, posted, flag)      /*> item.withdrawIfAsleep(); */
#endif
}

/* In src/thread/AlgoThread.h: static bool isWoken(const T& item) */
#define isWoken(i) (awake[i] && inForce[i] && undecided[i]) /*> item.active && item.inForce && item.undecided; */

inline walk(i, chosen, temp, level, posted, flag) {
  d_step { walked = published; walking = true; i = 0 };
  do
  :: i < ITEMS ->
     if
     :: walked & BIT(i) ->
        d_step { touch(i) };
        if
        :: chosen -> decide(i, temp, level, posted, flag)
        :: else
        fi
     :: else
     fi;
     i++
  :: else -> break
  od;
  atomic { walking = false; walked = 0; i = 0 }
}

/* In src/thread/AlgoThread.h: void waitThroughPeriod(std::unique_lock<std::mutex>& sleepLock) */
inline waitThroughPeriod(i, temp, level, posted, flag) {
  do
  :: true ->
     d_step {                    /*- what a worker at rest has to leave behind */
       never(callerHeldUpThroughAPeriod, blockedByWorker[WORKER]);
       atRest()
     };
     sleepCond = WAITING;        /*> while (this->sleepCond.wait_until(sleepLock, end) == std::cv_status::no_timeout) { */
     if
     :: d_step { sleepCond == WAITING -> sleepCond = 0 } -> break /*- the period has run out */
     :: sleepCond != WAITING     /*- or it is notified */
     fi;
     if
     :: stopRequested -> break   /*> if (this->stopRequested) return; */
     :: else
     fi;
     walk(i, isWoken(i), temp, level, posted, flag) /*> decideWoken(); */
  od
}

/* In src/thread/AlgoThread.h: void operator()() override */
proctype Worker() {
  byte i;
  byte temp, level, posted;
  bool flag;
  lock(loopMutex[WORKER]);       /*> std::unique_lock<std::mutex> loopLock(this->loopMutex); */
  do
  :: stopRequested -> break      /*> while (!this->stopRequested) { */
  :: else ->
     waitUntilActive(WORKER);    /*> this->waitUntilActive(loopLock); */
     d_step {                    /*- a stopped worker makes one pass at most */
       if
       :: stopping -> passesSinceStop++; never(notStopped, passesSinceStop > 1)
       :: else
       fi
     };
     walk(i, awake[i], temp, level, posted, flag); /*> decisionPass(); */
     waitThroughPeriod(i, temp, level, posted, flag) /*> waitThroughPeriod(sleepLock); */
  od;
  unlock(loopMutex[WORKER]);     /*- the end of the body */
  bodyReturned = true            /*- what join waits for */
}

/* In src/sensor/Sensor.cpp: void Sensor::traversItems() */
inline sample(i, changing, flag) {
  if
  :: hot[i] = 0                  /*- what the sensor has read */
  :: hot[i] = 1                  /*- or this */
#if LEVELS == 2
  :: hot[i] = 2                  /*- or this */
#endif
  fi;
  d_step { touch(i) };        /*- every access below */
  if
  :: !awake[i] && hot[i] ->      /*> if (algo.active) return; */
     undecided[i] = changing;    /*> algo.undecided = entering; */
     activateItem(i, flag)       /*> algo.activate(); */
  :: else
  fi
}

/* In src/sensor/Sensor.cpp: void Sensor::deactivateOldScen() */
inline deactivateOldScen(i, posted, flag) {
  d_step { touch(i) };        /*- every access below */
  if
  :: awake[i] ->                 /*> if (!algo->active) continue; */
     deactivateItem(i, posted, flag)     /*> algo->deactivate(); */
  :: else
  fi
}

/* In src/sensor/Sensor.cpp: void Sensor::changeScenario(const std::string& newScenario) */
inline leave(i) {
  inForce[i] = false             /*> if (algo) algo->inForce = false; */
}

inline enter(i) {
  inForce[i] = true;             /*> algo->inForce = true; */
  undecided[i] = false;          /*> algo->undecided = false; */
  returned[i] = awake[i]         /*> algo->returned = algo->active.load(); */
}

/* Any number of samples of the scenario in force, and of changes to another one and back. */
inline samples(i, posted, flag) {
  do
  :: sample(i, false, flag)
#ifdef AGAIN
  :: i == RETIRED ->
     leave(i);
     deactivateOldScen(i, posted, flag);
     if
     :: request[i] = 0
     :: true
     fi;
     enter(i);
     sample(i, true, flag)
#endif
  :: break
  od
}

/* The thread of item i's sensor, from before a swap until after it. */
proctype SensorThread(byte i) {
  byte posted;
  bool flag;
  if
  :: i == RETIRED && inForce[i] -> samples(i, posted, flag); leave(i)
  :: else -> enter(i); sample(i, true, flag)
  fi;
  taken++;
  letGo;
  if
  :: i == RETIRED && !inForce[i] -> deactivateOldScen(i, posted, flag)
  :: else
  fi;
  left++;
  if
  :: i != RETIRED -> samples(i, posted, flag)
  :: else
  fi;
  sensorsDone++
}

/* In src/thread/AlgoThread.h: bool destroyOldItems() */
inline destroyOldItems(posted, flag) {
#ifdef FREED_BEFORE_TAKEN_OFF
  freed[RETIRED] = true;
#endif
  published = published & ~BIT(RETIRED); /*> if (!retired.empty()) this->items.replace(kept); */
  (!walking || !(walked & BIT(RETIRED))); /*- what the list promises: no walk sees it any more */
#ifndef RETIRED_NOT_DEACTIVATED
  if
  :: awake[RETIRED] -> deactivateItem(RETIRED, posted, flag) /*> if (item->active) item->deactivate(); */
  :: else
  fi;
#endif
  d_step {                       /*> delete item; */
    never(freedWithItsRequest, request[RETIRED]);
    if
    :: awake[RETIRED] ->
#ifdef MONITOR
       /* As it has to: at level 0 a monitor cannot be put to sleep. */
       never(countTooHigh, status[RETIRED] != 0);
       leaked++
#else
       never(countTooHigh, true)
#endif
    :: else
    fi;
    freed[RETIRED] = true
  };
#if !defined(STAYS) && !defined(NOT_TOLD_TO_STOP)
  stopRequested = true           /*> if (kept.empty()) this->stopRequested = true; */
#endif
}

/* In src/thread/Daemon.cpp: void stopAndFree(const std::string& name, Worker* worker, */
inline stopAndFree(flag) {
  stopping = true;               /*- from here on the worker has to end */
  notify(sleepCond);             /*> worker->sleepCond.notify_one(); */
#ifndef STOPPED_WITHOUT_ACTIVATION
  activate(WORKER, flag);        /*> worker->activate(); */
#endif
#ifndef FREED_WITHOUT_JOIN
  bodyReturned;                  /*> thread->join(); */
#endif
  d_step {                       /*> delete worker; */
    never(freedBeforeItsEnd, !bodyReturned);
    workerFreed = true
  }
}

proctype ScenarioThread() {
  byte posted;
  bool flag;
  taken == ITEMS;
  /* As often as its time allows it wakes the worker for items that the change has woken. */
  do
  :: notify(sleepCond)
  :: break
  od;
  letGo = true;
  left == ITEMS;
  destroyOldItems(posted, flag);
#ifndef STAYS
  stopAndFree(flag);
#endif
  scenarioDone = true
}

/* Nobody can move: the work is done, and a worker is asleep only without an item awake. */
proctype Clock() {
  timeout ->
  d_step {
    never(nobodyWillEverMove, sensorsDone < ITEMS || !scenarioDone);
#ifdef STAYS
    never(nobodyWillEverMove, activateCond[WORKER] != WAITING);
    never(asleepOverAnItem, AWAKE_ITEMS > 0);
    atRest()
#endif
  }
}

init {
  select (spurious : 0 .. SPURIOUS);
  atomic {
#ifndef MARKED
    inForce[RETIRED] = true;
#endif
    run Worker();
    run SensorThread(RETIRED);
#ifdef STAYS
    run SensorThread(KEPT);
#endif
    run ScenarioThread();
    run Clock()
  }
}
