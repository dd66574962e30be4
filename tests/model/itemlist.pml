/* The list of items that one thread walks while another appends to it and takes items off.
 *
 * APPENDS      items that come in one after the other
 * REPLACES     how often those present may be taken off, all or but for the newest
 * OWN_REPLACE  the walking thread itself takes them off too, while the other one waits for it, as a
 *              sensor's thread does in a scenario change
 *
 * The first block holds 1 item instead of 8. */

#include "sync.pml"

#define NONE 255
#define BLOCKS 3
#define CAPACITY 4
#define SLOT(block, i) (CAPACITY * (block) + (i))

/* Blocks: what `new` and `delete` give and take. Freed memory is handed out again at once. */
bool allocated[BLOCKS];
byte room[BLOCKS];
byte slots[BLOCKS * CAPACITY];
byte size[BLOCKS];

byte current, published;
/* Odd during a walk. The walks of one wait are told apart by four numbers as well as by all. */
byte walks;

/* What the model watches: items by number, in order of insertion. */
bool present[APPENDS];   /* the append has returned, and nobody has begun to take the item off */
bool freed[APPENDS];
bool due[APPENDS];       /* present when the walk began */
byte appended;
bool changerWaits;       /* for the walking thread to replace the list itself */
bool done;

/* What must never be. */
bool freedBlockTouched, emptySlotVisited, freedItemVisited, itemMissed, nobodyWillEverMove;

#define nextWalk (walks + 1) % 4

inline allocate(block) {
  block = 0;
  do
  :: allocated[block] -> block++
  :: else -> break
  od;
  assert(block < BLOCKS);
  allocated[block] = true;
  size[block] = 0;
  for (k : 0 .. CAPACITY - 1) { slots[SLOT(block, k)] = NONE };
  k = 0
}

/* In src/base/ItemList.h: void awaitWalkEnd() const */
inline awaitWalkEnd(seen) {
  seen = walks;                  /*> const uint32_t seen = walkUnderWay(); */
  if
#ifndef AWAITED_WITHOUT_A_WALK
  :: seen % 2 == 0               /*> if (seen == 0) return; */
#endif
  :: else -> walks != seen       /*> while (walks == seen) */
  fi
}

/* In src/base/ItemList.h: void publish(std::unique_ptr<Block> next) */
inline publish(next, last, seen) {
#ifdef AWAITED_BEFORE_PUBLISHING
  awaitWalkEnd(seen);
#endif
  published = next;              /*> published = next.get(); */
  d_step { last = current; current = next; next = last; last = 0 }; /*> std::swap(current, next); */
#if !defined(AWAITED_BEFORE_PUBLISHING) && !defined(NO_AWAIT_WALK_END)
  awaitWalkEnd(seen);            /*> awaitWalkEnd(); */
#endif
  d_step { allocated[next] = false; next = 0 } /*- the end of the function frees what `next` holds */
}

/* In src/base/ItemList.h: void append(T* item) */
inline append(item, next, last, seen) {
  if
  :: size[current] == room[current] -> /*> if (current->size == current->slots.size()) { */
     d_step {                    /*> publish(std::make_unique<Block>(begin(), end(), roomier)); */
       allocate(next);
       room[next] = (room[current] == 0 -> 1 : 2 * room[current]);
       assert(room[next] <= CAPACITY);
       for (k : 0 .. CAPACITY - 1) {
         if
         :: k < size[current] -> slots[SLOT(next, k)] = slots[SLOT(current, k)]
         :: else
         fi
       };
       k = 0;
       size[next] = size[current]
     };
     publish(next, last, seen)   /*- the rest of that statement */
  :: else
  fi;
#ifdef SIZE_BEFORE_SLOT
  size[current]++;
  slots[SLOT(current, size[current] - 1)] = item
#else
  slots[SLOT(current, size[current])] = item; /*> current->slots[current->size] = item; */
  size[current]++                /*> ++current->size; */
#endif
}

/* In src/base/ItemList.h: void replace(const std::vector<T*>& kept) */
inline replace(next, last, seen) {
  d_step {                       /*> publish(std::make_unique<Block>(kept.data(), kept.data() + kept.size(), kept.size())); */
    allocate(next);
    for (k : 0 .. APPENDS - 1) {
      if
      :: present[k] -> slots[SLOT(next, size[next])] = k; size[next]++
      :: else
      fi
    };
    k = 0;
    room[next] = size[next]
  };
  publish(next, last, seen)      /*- the rest of that statement */
}

/* Takes off all items, or all but the newest. */
inline retire(next, last, seen) {
  d_step {
    for (k : 0 .. APPENDS - 1) {
      retired[k] = present[k];
      present[k] = false
    };
    k = 0
  };
  if
  :: appended > 0 && retired[appended - 1] ->
     d_step { present[appended - 1] = true; retired[appended - 1] = false }
  :: true
  fi;
#ifdef FREED_BEFORE_REPLACED
  d_step { for (k : 0 .. APPENDS - 1) { freed[k] = freed[k] || retired[k] } k = 0 };
#endif
  replace(next, last, seen);
  d_step { for (k : 0 .. APPENDS - 1) { freed[k] = freed[k] || retired[k] } k = 0 }
}

/* In src/base/ItemList.h: template <typename Visit> void walk(Visit visit) */
inline walk(block, count, i) {
  d_step { for (k : 0 .. APPENDS - 1) { due[k] = present[k] } k = 0 }; /*- what this walk must not miss */
#ifdef LOOKED_BEFORE_THE_WALK_IS_COUNTED
  block = published;
  walks = nextWalk;
#else
  walks = nextWalk;              /*> ++walks; */
  block = published;             /*> const Block& block = *published.load(); */
#endif
  d_step { never(freedBlockTouched, !allocated[block]); count = size[block] }; /*> const size_t size = block.size; */
#ifdef WALK_OVER_BEFORE_ITS_VISITS
  walks = nextWalk;
#endif
  do
  :: i < count ->                /*> for (size_t i = 0; i < size && block.slots[i]; ++i) */
     d_step {                    /*> visit(*block.slots[i]); */
       never(freedBlockTouched, !allocated[block]);
       k = slots[SLOT(block, i)];
       never(emptySlotVisited, k == NONE);
       never(freedItemVisited, freed[k]);
       due[k] = false;
       k = 0
     };
     d_step { never(freedItemVisited, freed[slots[SLOT(block, i)]]) }; /*- the visit's end */
     i++
  :: else -> break
  od;
  atomic {                       /*- nobody was missed, but for those taken off meanwhile */
    i = 0; block = 0; count = 0;
    for (k : 0 .. APPENDS - 1) { never(itemMissed, due[k] && present[k]) };
    k = 0
  };
#ifndef WALK_OVER_BEFORE_ITS_VISITS
  walks = nextWalk               /*> ++walks; */
#endif
}

proctype Walker() {
  byte block, count, i, k, next, last, seen;
#ifdef OWN_REPLACE
  bool retired[APPENDS];
#endif
  do
  :: done -> break
#ifndef OWN_REPLACE
  :: true -> break               /* a worker asleep */
#endif
  :: !done ->
#ifdef OWN_REPLACE
     if
     :: changerWaits -> retire(next, last, seen); changerWaits = false
     :: else
     fi;
#endif
     walk(block, count, i)
  od
}

proctype Changer() {
  byte next, last, seen, k;
  byte replaces = REPLACES;
  bool retired[APPENDS];
  do
  :: appended < APPENDS ->
     append(appended, next, last, seen);
     d_step { present[appended] = true; appended++ }
  :: replaces > 0 -> replaces--; retire(next, last, seen)
#ifdef OWN_REPLACE
  :: replaces > 0 -> replaces--; changerWaits = true; !changerWaits
#endif
  :: appended == APPENDS -> break
  od;
  done = true
}

proctype Clock() {
  timeout -> d_step { never(nobodyWillEverMove, !done) }
}

init {
  byte k;
  atomic {
    run Clock();
    allocate(current);
    published = current;
    run Walker();
    run Changer()
  }
}
