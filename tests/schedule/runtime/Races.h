#pragma once

#include <cstddef>

// Finds data races in the schedule under way: two plain accesses of two fibers to one byte of the
// arena, one of them a write, that no chain of synchronisation puts in an order. Whether they came
// close to each other does not matter.
//
// Shape: for each eight bytes the latest write and the latest read are known, so a race may go
// unseen where several came in between, but none is reported that is not one.
namespace races {

constexpr int kNone = -1;

// A schedule begins, in which so many bytes of the arena were in use before.
void begin(size_t arenaUsed);

// `fiber` begins with all that happened before in `creator` (or kNone); `fiber` learns all that
// happened in `ended`.
void starts(int fiber, int creator);
void joins(int fiber, int ended);

// `fiber` learns what was released at the object, or leaves there what it knows: in the place of
// what lay there before (a store), or beside it.
void acquire(int fiber, const volatile void* object);
enum class Release { kReplaces, kAdds };
void release(int fiber, const volatile void* object, Release how);

// A plain access to the arena, which begins at `offset`. Returns the fiber that it races with, or
// kNone.
int access(int fiber, size_t offset, size_t size, bool writes);

} // namespace races
