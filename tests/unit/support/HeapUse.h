#pragma once

#include <cstddef>

// How often this thread has taken memory from the heap so far.
size_t heapUses();

// Sanitizers bring an `operator new` of their own, and then nothing is counted.
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr bool kHeapUsesCounted = false;
#else
constexpr bool kHeapUsesCounted = true;
#endif
