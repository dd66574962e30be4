#include "runtime/Memory.h"

#include <sys/mman.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <new>

#include "runtime/Races.h"
#include "runtime/Scheduler.h"

namespace memory {

bool fromArena = false;

namespace {

constexpr size_t kGranule = 16;
constexpr unsigned char kFreedByte = 0xdd;

// What a granule is: the header of a block and the gaps belong to nobody.
enum Mark : unsigned char { kNobodys, kLive, kFreed };

// In front of each block.
struct alignas(kGranule) Header {
  uint32_t size;
  int32_t freedBy;
  uint64_t freedAtStep;
};

// The same in every process, so that traces of one schedule agree.
char* const arenaBegin = reinterpret_cast<char*>(uintptr_t{0x200000000000});
unsigned char* marks;
char* image;
size_t imageSize;
size_t top;

size_t granuleOf(const volatile void* address) {
  return (reinterpret_cast<uintptr_t>(address) - reinterpret_cast<uintptr_t>(arenaBegin)) /
         kGranule;
}

void* map(void* wanted, size_t size, int flags) {
  void* const got = ::mmap(wanted, size, PROT_READ | PROT_WRITE,
                           MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE | flags, -1, 0);
  if (got == MAP_FAILED) {
    std::perror("mmap");
    std::abort();
  }
  return got;
}

void* allocate(size_t size) {
  if (!marks) {
    map(arenaBegin, kArenaSize, MAP_FIXED_NOREPLACE);
    marks = static_cast<unsigned char*>(map(nullptr, kArenaSize / kGranule, 0));
  }
  const size_t granules = (size + kGranule - 1) / kGranule;
  if (top + (granules + 1) * kGranule > kArenaSize) {
    std::fprintf(stderr, "the arena of the daemon under test is full\n");
    std::abort();
  }
  auto* const header = reinterpret_cast<Header*>(arenaBegin + top);
  header->size = static_cast<uint32_t>(size);
  void* const block = header + 1;
  std::memset(marks + granuleOf(block), kLive, granules);
  top += (granules + 1) * kGranule;
  return block;
}

void release(void* block) {
  unsigned char* const first = marks + granuleOf(block);
  if (*first != kLive) schedule::fail("a block is freed that is not allocated");
  auto* const header = static_cast<Header*>(block) - 1;
  schedule::aboutToFree(block, header->size);
  header->freedBy = schedule::currentFiber();
  header->freedAtStep = schedule::currentStep();
  std::memset(block, kFreedByte, header->size);
  std::memset(first, kFreed, (header->size + kGranule - 1) / kGranule);
}

} // namespace

InArena::InArena() {
  fromArena = true;
}
InArena::~InArena() {
  fromArena = false;
}

OnHeap::OnHeap() : before(fromArena) {
  fromArena = false;
}
OnHeap::~OnHeap() {
  fromArena = before;
}

void clear() {
  races::begin(top);
  if (marks) std::memset(marks, 0, top / kGranule);
  top = 0;
}

void keep() {
  imageSize = top;
  image = static_cast<char*>(std::realloc(image, imageSize + imageSize / kGranule));
  std::memcpy(image, arenaBegin, imageSize);
  std::memcpy(image + imageSize, marks, imageSize / kGranule);
}

void restore() {
  races::begin(top);
  std::memcpy(arenaBegin, image, imageSize);
  std::memcpy(marks, image + imageSize, imageSize / kGranule);
  if (top > imageSize) std::memset(marks + imageSize / kGranule, 0, (top - imageSize) / kGranule);
  top = imageSize;
}

bool inArena(const volatile void* address) {
  return granuleOf(address) < kArenaSize / kGranule;
}

size_t offsetOf(const volatile void* address) {
  return reinterpret_cast<uintptr_t>(address) - reinterpret_cast<uintptr_t>(arenaBegin);
}

bool isSound(const volatile void* address, size_t size) {
  const size_t first = granuleOf(address);
  if (first >= kArenaSize / kGranule) return true;
  return marks[first] == kLive && marks[first + (size - 1) / kGranule] == kLive;
}

Block blockAround(const volatile void* address) {
  size_t granule = granuleOf(address);
  if (marks[granule] != kFreed) return {false, 0, 0, 0};
  while (marks[granule] == kFreed)
    --granule;
  const auto* header = reinterpret_cast<const Header*>(arenaBegin + granule * kGranule);
  return {true, header->freedAtStep, header->freedBy, header->size};
}

size_t used() {
  return top;
}

} // namespace memory

void* operator new(size_t size) {
  void* const block = memory::fromArena ? memory::allocate(std::max<size_t>(size, 1))
                                        : std::malloc(std::max<size_t>(size, 1));
  if (!block) throw std::bad_alloc();
  return block;
}

void operator delete(void* block) noexcept {
  if (!block) return;
  if (memory::inArena(block))
    memory::release(block);
  else
    std::free(block);
}

void operator delete(void* block, size_t) noexcept {
  operator delete(block);
}
