/* The activation count of a worker. Before it is included: WORKERS, and two steps of the model's own:
 * countChanged(w) whenever the count of worker w is asked to move, and deactivatedAtZero(w) when it
 * cannot. */

byte loopMutex[WORKERS];
byte countMutex[WORKERS];
byte activateCond[WORKERS];
byte activeCount[WORKERS];
bool aboutToWait[WORKERS];
/* A caller of activate waits for a mutex that the worker may keep through its period. */
bool blockedByWorker[WORKERS];

/* In src/thread/Worker.h: void activate() override */
inline activate(w, wasIdle) {
  lock(countMutex[w]);           /*> const std::lock_guard<std::mutex> guard(countMutex); */
  d_step {                       /*> if (activeCount++ != 0) return; */
    wasIdle = (activeCount[w] == 0);
    activeCount[w]++;
    countChanged(w)
  };
  unlock(countMutex[w]);         /*- the end of the guard's block */
  if
  :: wasIdle ->                  /*- the rest of that statement */
#ifdef NOTIFIED_BEFORE_THE_PROOF
     notify(activateCond[w]);
#endif
#ifndef NO_PROOF_OF_THE_WAIT
     do
     :: !aboutToWait[w] -> break /*> while (aboutToWait) { */
     :: aboutToWait[w] ->        /*- the loop's body */
#ifdef PLAIN_LOCK_IN_ACTIVATE
        blockedByWorker[w] = true;
        lock(loopMutex[w]);
        blockedByWorker[w] = false;
        unlock(loopMutex[w]);
        break
#else
        if
        :: d_step {              /*> const std::unique_lock<std::mutex> waits(loopMutex, std::try_to_lock); */
             loopMutex[w] == FREE -> loopMutex[w] = _pid + 1
           };
           unlock(loopMutex[w]); /*> if (waits) break; */
           break
        :: loopMutex[w] != FREE -> /*- the try has failed */
           /* The next try comes when it may end differently; in between, it changes nothing. */
           (!aboutToWait[w] || loopMutex[w] == FREE) /*> std::this_thread::yield(); */
        fi
#endif
     od;
#endif
#ifndef NOTIFIED_BEFORE_THE_PROOF
     notify(activateCond[w])     /*> activateCond.notify_one(); */
#endif
  :: else
  fi
}

/* In src/thread/Worker.h: void deactivate() override */
inline deactivate(w) {
  lock(countMutex[w]);           /*> const std::lock_guard<std::mutex> guard(countMutex); */
  d_step {                       /*> if (activeCount >= 1) --activeCount; */
    if
    :: activeCount[w] >= 1 -> activeCount[w]--
    :: else -> deactivatedAtZero(w)
    fi;
    countChanged(w)
  };
  unlock(countMutex[w])          /*- the end of the guard's block */
}

/* In src/thread/Worker.h: void waitUntilActive(std::unique_lock<std::mutex>& loopLock) */
inline waitUntilActive(w) {
#ifdef FLAG_RAISED_AFTER_THE_COUNT
  if
  :: activeCount[w] == 0 -> aboutToWait[w] = true; wait(activateCond[w], loopMutex[w])
  :: else
  fi;
#else
  aboutToWait[w] = true;         /*> aboutToWait = true; */
  if
  :: activeCount[w] == 0 ->      /*> if (activeCount == 0) { */
     wait(activateCond[w], loopMutex[w]) /*> activateCond.wait(loopLock); */
  :: else
  fi;
#endif
  aboutToWait[w] = false         /*> aboutToWait = false; */
}
