/* A scenario change: the scenario thread leads, every sensor thread follows, in three phases.
 *
 * THREADS     sensor threads
 * CHANGES     changes in a row
 * SPURIOUS    at most so many waits end although nobody notified them
 * VIRTUAL     the last sensor thread has virtual sensors only, and sleeps until one is switched on;
 *             how often that may happen
 */

#include "sync.pml"

#define LAST (THREADS - 1)
#define WORKERS THREADS

/* Something that a sensor thread's pass looks at has changed, so that one more pass may differ. */
bool newsFor[THREADS];
#define countChanged(w) newsFor[w] = true
#define deactivatedAtZero(w) skip

#include "thermal_thread.pml"

byte sleepCond[THREADS];

byte scenarioLoopMutex;
byte scenarioActivateCond;
byte pendingMutex;
short pendingCount;

/* By thread and barrier. */
#define AT(w, index) (2 * (w) + (index))
byte handshakeMutex[2 * THREADS];
byte handshakeCond[2 * THREADS];
bool scenChangeRequested[THREADS];
bool holdForScenThread[THREADS];
byte newScenName[THREADS];

/* What the model watches. */
byte change;             /* the change that is led, counted from 1 */
byte scenario[THREADS];  /* the change whose name the thread's sensors have taken */
bool owes[THREADS];      /* the thread has yet to check in at the barrier that is led */
bool parked[THREADS];    /* it has checked in at barrier 0 and not left it */
bool parking;            /* the first phase is led */
bool finished;           /* the last change is over */
bool tripDone;
bool timePassed;         /* all have slept through a period since the last barrier was passed */

/* What must never be. */
bool checkInWithoutALeader, barrierPassedTooEarly, registryTouchedUnderASample, staleNameTaken,
     oldScenarioLeftTooEarly, nobodyWillEverMove, parkedForGood;

/* In src/thread/ScenarioThread.cpp: void ScenarioThread::checkIn() */
inline checkIn(me, last) {
#ifndef CHECK_IN_WITHOUT_LOOP_MUTEX
  lock(scenarioLoopMutex);       /*> const std::lock_guard<std::mutex> loopGuard(loopMutex); */
#endif
  lock(pendingMutex);            /*> const std::lock_guard<std::mutex> pendingGuard(pendingMutex); */
  d_step {                       /*> if (pendingCount-- == 1) activateCond.notify_one(); */
    never(checkInWithoutALeader, !owes[me]);
    owes[me] = false;
    last = (pendingCount == 1);
    pendingCount--
  };
  if
  :: last -> notify(scenarioActivateCond) /*- the rest of that statement */
  :: else
  fi;
  unlock(pendingMutex);          /*- the end of the function */
#ifndef CHECK_IN_WITHOUT_LOOP_MUTEX
  unlock(scenarioLoopMutex)      /*- the end of the function */
#endif
}

/* In src/thread/ScenarioThread.cpp: void ScenarioThread::passBarrier() */
inline passBarrier() {
  lock(scenarioLoopMutex);       /*> std::unique_lock<std::mutex> lock(loopMutex); */
#ifdef IF_AT_SCENARIO_BARRIER
  if
  :: pendingCount >= 1 -> wait(scenarioActivateCond, scenarioLoopMutex)
  :: else
  fi;
#else
  do
  :: pendingCount >= 1 ->        /*> while (pendingCount >= 1) activateCond.wait(lock); */
     wait(scenarioActivateCond, scenarioLoopMutex)
  :: else -> break
  od;
#endif
  unlock(scenarioLoopMutex);     /*- the end of the function */
  d_step {                       /*- what a passed barrier means */
    for (i : 0 .. LAST) { never(barrierPassedTooEarly, owes[i]) }
    i = 0;
    timePassed = false
  }
}

/* In src/thread/ScenarioThread.cpp: void awaitWaitAt(std::mutex& handshake) */
inline awaitWaitAt(mutex) {
  lock(mutex);                   /*> const std::lock_guard<std::mutex> guard(handshake); */
  unlock(mutex)                  /*- the end of the function */
}

inline request(w, wanted) {
  d_step { scenChangeRequested[w] = wanted; newsFor[w] = true }
}

inline count(w) {
  d_step { pendingCount++; owes[w] = true }
}

/* In src/thread/ScenarioThread.cpp: void ScenarioThread::park(SensorThread& worker) */
inline park(w) {
#ifdef REQUESTED_BEFORE_COUNTED
  request(w, true);
#endif
  count(w);                      /*> ++pendingCount; */
#ifndef REQUESTED_BEFORE_COUNTED
  request(w, true);              /*> worker.scenChangeRequested = true; */
#endif
  notify(sleepCond[w])           /*> worker.sleepCond.notify_one(); */
}

/* In src/thread/ScenarioThread.cpp: void ScenarioThread::handOverName(SensorThread& worker, bool newConf) */
inline handOverName(w) {
#ifndef COUNTED_AFTER_LETTING_GO
  count(w);                      /*> ++pendingCount; */
#endif
#ifndef NAME_AFTER_LETTING_GO
  d_step {                       /*> prepareName(worker, newConf); */
    never(registryTouchedUnderASample, !parked[w]);
    newScenName[w] = change
  };
#endif
#ifdef NOTIFIED_BEFORE_LETTING_GO_0
  awaitWaitAt(handshakeMutex[AT(w, 0)]);
  notify(handshakeCond[AT(w, 0)]);
#endif
  holdForScenThread[w] = false;  /*> worker.holdForScenThread = false; */
#ifdef NAME_AFTER_LETTING_GO
  newScenName[w] = change;
#endif
#ifdef COUNTED_AFTER_LETTING_GO
  count(w);
#endif
#ifndef NOTIFIED_BEFORE_LETTING_GO_0
#ifndef NO_AWAIT_WAIT_0
  awaitWaitAt(handshakeMutex[AT(w, 0)]); /*> awaitWaitAt(worker.handshakeMutex[0]); */
#endif
  notify(handshakeCond[AT(w, 0)])   /*> worker.handshakeCond[0].notify_one(); */
#endif
}

/* In src/thread/ScenarioThread.cpp: void ScenarioThread::release(SensorThread& worker) */
inline release(w) {
  count(w);                      /*> ++pendingCount; */
#ifdef NOTIFIED_BEFORE_LETTING_GO_1
  request(w, false);
  awaitWaitAt(handshakeMutex[AT(w, 1)]);
  notify(handshakeCond[AT(w, 1)]);
  holdForScenThread[w] = false
#else
#ifdef RELEASED_BEFORE_THE_REQUEST_IS_DOWN
  holdForScenThread[w] = false;
  request(w, false);
#else
#ifndef REQUEST_DOWN_AFTER_NOTIFICATION
  request(w, false);             /*> worker.scenChangeRequested = false; */
#endif
  holdForScenThread[w] = false;  /*> worker.holdForScenThread = false; */
#endif
#ifndef NO_AWAIT_WAIT_1
  awaitWaitAt(handshakeMutex[AT(w, 1)]); /*> awaitWaitAt(worker.handshakeMutex[1]); */
#endif
  notify(handshakeCond[AT(w, 1)]);  /*> worker.handshakeCond[1].notify_one(); */
#ifdef REQUEST_DOWN_AFTER_NOTIFICATION
  request(w, false)
#endif
#endif
}

/* In src/thread/ScenarioThread.cpp: void ScenarioThread::changeWithSensorThreads( */
inline changeWithSensorThreads(w) {
  parking = true;                /*- for the required wait */
  for (w : 0 .. LAST) {          /*> for (const auto& [sampling, worker] : workers) */
    park(w)                      /*> park(*worker); */
  };
  passBarrier();                 /*> passBarrier(); */
  parking = false;               /*- for the required wait */
  for (w : 0 .. LAST) {          /*> for (const auto& [sampling, worker] : workers) */
    handOverName(w)              /*> handOverName(*worker, newConf); */
  };
  passBarrier();                 /*> passBarrier(); */
  for (w : 0 .. LAST) {          /*> for (const auto& [sampling, worker] : workers) */
    release(w)                   /*> release(*worker); */
  };
  passBarrier();                 /*> passBarrier(); */
}

proctype ScenarioThread() {
  byte w, i;
  do
  :: change < CHANGES -> change++; changeWithSensorThreads(w)
  :: else -> break
  od;
  finished = true
}

/* In src/thread/SensorThread.cpp: void SensorThread::waitForScenThread(int index) */
inline waitForScenThread(me, index, last) {
  lock(handshakeMutex[AT(me, index)]); /*> std::unique_lock<std::mutex> lock(handshakeMutex[barrier]); */
  parked[me] = (index == 0);     /*- seen by the scenario thread after the check-in */
  checkIn(me, last);             /*> scenarioThread->checkIn(); */
#ifdef IF_AT_SENSOR_BARRIER
  if
  :: holdForScenThread[me] -> wait(handshakeCond[AT(me, index)], handshakeMutex[AT(me, index)])
  :: else
  fi;
#else
  do
  :: holdForScenThread[me] ->    /*> while (holdForScenThread) handshakeCond[barrier].wait(lock); */
     wait(handshakeCond[AT(me, index)], handshakeMutex[AT(me, index)])
  :: else -> break
  od;
#endif
  d_step { parked[me] = false; unlock(handshakeMutex[AT(me, index)]) } /*- the end of the function */
}

/* In src/thread/SensorThread.cpp: void SensorThread::changeScenario() */
inline changeScenario(me, last) {
  holdForScenThread[me] = true;  /*> holdForScenThread = true; */
  waitForScenThread(me, 0, last); /*> waitForScenThread(0); */
#ifndef HOLD_NOT_RAISED_AGAIN
  holdForScenThread[me] = true;  /*> holdForScenThread = true; */
#endif
  d_step {                       /*> takeOverScenario(); */
    never(staleNameTaken, newScenName[me] != change);
    scenario[me] = newScenName[me]
  };
  waitForScenThread(me, 1, last); /*> waitForScenThread(1); */
  d_step {                       /*> leaveOldScenario(); */
    for (i : 0 .. LAST) { never(oldScenarioLeftTooEarly, scenario[i] != change) }
    i = 0
  };
  checkIn(me, last)              /*> scenarioThread->checkIn(); */
}

/* In src/thread/Worker.h: void waitForPeriod( */
inline waitForPeriod(w) {
  sleepCond[w] = WAITING;        /*> sleepCond.wait_until(sleepLock, endOfPeriod()); */
  if
  :: sleepCond[w] != WAITING     /*- the wait ends notified */
  :: d_step { newsFor[w] -> newsFor[w] = false; sleepCond[w] = 0 } /*- or the period has run out */
  fi
}

/* In src/thread/SensorThread.cpp: void SensorThread::operator()() */
proctype SensorThread(byte me) {
  bool last;
  byte i;
  lock(loopMutex[me]);           /*> std::unique_lock<std::mutex> loopLock(loopMutex); */
  do
  :: true ->                     /*> for (;;) { */
#ifdef VIRTUAL
     if
     :: me == LAST -> waitUntilActive(me) /*> waitUntilActive(loopLock); */
     :: else
     fi;
#endif
     if
     :: scenChangeRequested[me] -> changeScenario(me, last) /*> if (scenChangeRequested) changeScenario(); */
     :: else
     fi;
     waitForPeriod(me)           /*> waitForPeriod(sleepLock); */
  od
}

#ifdef VIRTUAL
/* The sensor that the virtual ones trip on: switches them on, off and on again, or stops before. */
proctype Trip() {
  bool wasIdle;
  byte left = VIRTUAL;
  do
  :: left > 0 ->
     activate(LAST, wasIdle);
     left--;
     if
     :: left > 0 -> deactivate(LAST)
     :: break
     fi
  :: break
  od;
  left = 0;
  tripDone = true
}
#define asleepByRule(w) \
  (w == LAST && tripDone && activeCount[w] == 0 && activateCond[w] == WAITING)
#else
#define asleepByRule(w) false
#endif

/* Lets time pass when nobody can do anything else: every period runs out. Where that does not bring
 * a change on, nothing ever will. */
proctype Clock() {
  byte i;
  do
  :: timeout && finished ->
     d_step {
       for (i : 0 .. LAST) { never(parkedForGood, sleepCond[i] != WAITING && !asleepByRule(i)) }
       i = 0
     };
     break
  :: timeout && !finished && timePassed ->
     d_step { never(nobodyWillEverMove, !(parking && asleepByRule(LAST))) };
     break
  :: timeout && !finished && !timePassed ->
     d_step {
       timePassed = true;
       for (i : 0 .. LAST) { newsFor[i] = true }
       i = 0
     }
  od
}

init {
  byte i;
  select (spurious : 0 .. SPURIOUS);
  atomic {
    for (i : 0 .. LAST) {
      activeCount[i] = 1;
      newsFor[i] = true;
      run SensorThread(i)
    };
    i = 0;
#ifdef VIRTUAL
    activeCount[LAST] = 0;
    run Trip();
#endif
    run ScenarioThread();
    run Clock()
  }
}
