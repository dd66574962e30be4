#include "support/HeapUse.h"

#include <cstdlib>
#include <new>

namespace {

thread_local size_t uses = 0;

} // namespace

size_t heapUses() {
  return uses;
}

#if HEAP_USES_COUNTED

// In place of the standard library's own, which all of its other forms call.

void* operator new(size_t size) {
  ++uses;
  void* const memory = std::malloc(size == 0 ? 1 : size);
  if (memory == nullptr) throw std::bad_alloc();
  return memory;
}

void operator delete(void* memory) noexcept {
  std::free(memory);
}

void operator delete(void* memory, size_t) noexcept {
  std::free(memory);
}

#endif
