#pragma once

#include <cstddef>
#include <cstdint>

// The memory of the daemon under test: an arena from which nothing is ever handed out twice in one
// schedule, so that a freed block stays recognisable, and whose content every schedule finds as the
// first one did. What the scheduler itself allocates stays on the ordinary heap.
//
// Threads: one thread of the system; all of the daemon's threads are fibers of it.
namespace memory {

constexpr size_t kArenaSize = size_t{16} << 20;

// While one of these lives, `operator new` takes from the arena.
class InArena {
public:
  InArena();
  ~InArena();
  InArena(const InArena&) = delete;
  InArena& operator=(const InArena&) = delete;
};

// While one of these lives, `operator new` takes from the ordinary heap, also inside an `InArena`.
class OnHeap {
public:
  OnHeap();
  ~OnHeap();
  OnHeap(const OnHeap&) = delete;
  OnHeap& operator=(const OnHeap&) = delete;

private:
  bool before;
};

// Whether `operator new` takes from the arena. Switched with the fibers, each of which has its own.
extern bool fromArena;

// Forgets everything that the arena holds.
void clear();

// Keeps what the arena holds now as what `restore` brings back.
void keep();
void restore();

bool inArena(const volatile void* address);
// From its begin. For an address in the arena.
size_t offsetOf(const volatile void* address);

// Whether an access of `size` bytes touches no freed block and no place between the blocks.
// Anything outside the arena is taken to be sound.
bool isSound(const volatile void* address, size_t size);

// What is known about the unsound place.
struct Block {
  bool freed;
  uint64_t freedAtStep;
  int freedBy; // the fiber
  size_t size;
};
Block blockAround(const volatile void* address);

// Bytes of the arena in use.
size_t used();

} // namespace memory
