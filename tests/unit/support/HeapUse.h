#pragma once

#include <cstddef>

// How often this thread has taken memory from the heap so far.
size_t heapUses();

// Sanitizers bring an `operator new` of their own, and then nothing is counted.
constexpr bool kHeapUsesCounted = HEAP_USES_COUNTED;
