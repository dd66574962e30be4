#include "runtime/Races.h"

#include <sys/mman.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstdlib>
#include <cstring>

#include "runtime/Memory.h"
#include "runtime/Strategy.h"

namespace races {
namespace {

using schedule::kMostFibers;

constexpr size_t kCell = 8;
constexpr size_t kSyncSlots = size_t{1} << 13;

// What a fiber knows of each other one: how often that had released something.
using Knowledge = std::array<uint32_t, kMostFibers>;

struct Access {
  uint32_t time; // 0: none
  uint8_t fiber;
  uint8_t bytes; // of the cell, one bit each
};

struct Cell {
  Access write;
  Access read;
};

struct Sync {
  const volatile void* object;
  uint64_t schedule; // the slot is free in any other one
  Knowledge known;
};

std::array<Knowledge, kMostFibers> knowledge;
std::array<Sync, kSyncSlots> syncs;
uint64_t scheduleNumber = 0;

Cell* cells() {
  static Cell* const all = [] {
    void* const got =
        ::mmap(nullptr, memory::kArenaSize / kCell * sizeof(Cell), PROT_READ | PROT_WRITE,
               MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
    if (got == MAP_FAILED) std::abort();
    return static_cast<Cell*>(got);
  }();
  return all;
}

Knowledge& of(int fiber) {
  return knowledge[static_cast<size_t>(fiber)];
}

uint32_t& ownTime(int fiber) {
  return of(fiber)[static_cast<size_t>(fiber)];
}

void add(Knowledge& to, const Knowledge& from) {
  for (size_t i = 0; i < to.size(); ++i)
    to[i] = std::max(to[i], from[i]);
}

Sync& syncAt(const volatile void* object) {
  const auto address = reinterpret_cast<uintptr_t>(object);
  size_t slot = (address * 0x9e3779b97f4a7c15) >> 51;
  for (;; slot = (slot + 1) % kSyncSlots) {
    Sync& sync = syncs[slot];
    if (sync.schedule == scheduleNumber && sync.object == object) return sync;
    if (sync.schedule == scheduleNumber) continue;
    sync.schedule = scheduleNumber;
    sync.object = object;
    sync.known.fill(0);
    return sync;
  }
}

bool racesWith(const Access& earlier, int fiber, uint8_t bytes) {
  return earlier.time != 0 && earlier.fiber != fiber && (earlier.bytes & bytes) != 0 &&
         earlier.time > of(fiber)[earlier.fiber];
}

void note(Access& latest, int fiber, uint8_t bytes) {
  const bool again = latest.fiber == fiber && latest.time == ownTime(fiber);
  latest = {ownTime(fiber), static_cast<uint8_t>(fiber),
            static_cast<uint8_t>(again ? latest.bytes | bytes : bytes)};
}

} // namespace

void begin(size_t arenaUsed) {
  ++scheduleNumber;
  std::memset(static_cast<void*>(cells()), 0, arenaUsed / kCell * sizeof(Cell));
}

void starts(int fiber, int creator) {
  if (creator == kNone)
    of(fiber).fill(0);
  else
    of(fiber) = of(creator);
  ownTime(fiber) = 1;
  if (creator != kNone) ++ownTime(creator);
}

void joins(int fiber, int ended) {
  add(of(fiber), of(ended));
}

void acquire(int fiber, const volatile void* object) {
  add(of(fiber), syncAt(object).known);
}

void release(int fiber, const volatile void* object, Release how) {
  Sync& sync = syncAt(object);
  if (how == Release::kReplaces)
    sync.known = of(fiber);
  else
    add(sync.known, of(fiber));
  ++ownTime(fiber);
}

int access(int fiber, size_t offset, size_t size, bool writes) {
  while (size > 0) {
    const size_t first = offset % kCell;
    const size_t count = std::min(size, kCell - first);
    const auto bytes = static_cast<uint8_t>(((1U << count) - 1U) << first);
    Cell& cell = cells()[offset / kCell];
    if (racesWith(cell.write, fiber, bytes)) return cell.write.fiber;
    if (writes && racesWith(cell.read, fiber, bytes)) return cell.read.fiber;
    note(writes ? cell.write : cell.read, fiber, bytes);
    offset += count;
    size -= count;
  }
  return kNone;
}

} // namespace races
