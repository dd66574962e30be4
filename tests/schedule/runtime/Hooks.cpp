// What the compiler's instrumentation calls. The sanitizer's own runtime is not linked: these are
// all that the instrumented code needs.

#include <cstddef>
#include <cstdint>

#include "runtime/Scheduler.h"

namespace {

constexpr int kRelaxed = __ATOMIC_RELAXED;

inline void touch(const volatile void* address, size_t size, bool writes) {
  schedule::accessed(address, size, writes);
}

// A relaxed access orders nothing (the log switch), so nobody else needs to run in front of it.
inline void pointBefore(const char* operation, const volatile void* object, size_t size, int order,
                        schedule::Effect effect, int64_t value = 0) {
  schedule::checkSound(object, size, effect == schedule::Effect::kChanges);
  if (order != kRelaxed) schedule::before(operation, object, effect, value);
}

template <typename T> T load(const volatile T* object, int order) {
  pointBefore("load", object, sizeof(T), order, schedule::Effect::kLooks);
  if (order != kRelaxed) schedule::synchronise(object, schedule::Order::kAcquire);
  return *object;
}

template <typename T> void store(volatile T* object, T value, int order) {
  pointBefore("store", object, sizeof(T), order, schedule::Effect::kChanges,
              static_cast<int64_t>(value));
  *object = value;
  if (order == kRelaxed) return;
  schedule::synchronise(object, schedule::Order::kRelease);
  schedule::after();
}

// What reads and changes in one go.
template <typename T, typename Change>
T exchange(const char* operation, volatile T* object, T value, int order, Change change) {
  pointBefore(operation, object, sizeof(T), order, schedule::Effect::kChanges,
              static_cast<int64_t>(value));
  const T previous = *object;
  *object = change(previous, value);
  if (order == kRelaxed) return previous;
  schedule::synchronise(object, schedule::Order::kBoth);
  schedule::after();
  return previous;
}

template <typename T> bool compareExchange(volatile T* object, T* expected, T value, int order) {
  const T wanted = *expected;
  *expected = exchange<T>("compare and exchange", object, value, order, [&](T previous, T given) {
    return previous == wanted ? given : previous;
  });
  return *expected == wanted;
}

} // namespace

#define PLAIN_HOOKS(size)                                                                          \
  void __tsan_read##size(void* address) {                                                          \
    touch(address, size, false);                                                                   \
  }                                                                                                \
  void __tsan_write##size(void* address) {                                                         \
    touch(address, size, true);                                                                    \
  }                                                                                                \
  void __tsan_unaligned_read##size(void* address) {                                                \
    touch(address, size, false);                                                                   \
  }                                                                                                \
  void __tsan_unaligned_write##size(void* address) {                                               \
    touch(address, size, true);                                                                    \
  }

#define EXCHANGE_HOOK(bits, T, name, text, expression)                                             \
  T __tsan_atomic##bits##_##name(volatile T* object, T value, int order) {                         \
    return exchange<T>(text, object, value, order, []([[maybe_unused]] T previous, T given) -> T { \
      return static_cast<T>(expression);                                                           \
    });                                                                                            \
  }

#define ATOMIC_HOOKS(bits, T)                                                                      \
  T __tsan_atomic##bits##_load(const volatile T* object, int order) {                              \
    return load<T>(object, order);                                                                 \
  }                                                                                                \
  void __tsan_atomic##bits##_store(volatile T* object, T value, int order) {                       \
    store<T>(object, value, order);                                                                \
  }                                                                                                \
  EXCHANGE_HOOK(bits, T, exchange, "exchange", given)                                              \
  EXCHANGE_HOOK(bits, T, fetch_add, "add to", previous + given)                                    \
  EXCHANGE_HOOK(bits, T, fetch_sub, "subtract from", previous - given)                             \
  EXCHANGE_HOOK(bits, T, fetch_and, "and to", static_cast<T>(given & previous))                    \
  EXCHANGE_HOOK(bits, T, fetch_or, "or to", previous | given)                                      \
  EXCHANGE_HOOK(bits, T, fetch_xor, "xor to", previous ^ given)                                    \
  int __tsan_atomic##bits##_compare_exchange_strong(volatile T* object, T* expected, T value,      \
                                                    int order, int) {                              \
    return compareExchange<T>(object, expected, value, order);                                     \
  }                                                                                                \
  int __tsan_atomic##bits##_compare_exchange_weak(volatile T* object, T* expected, T value,        \
                                                  int order, int) {                                \
    return compareExchange<T>(object, expected, value, order);                                     \
  }

extern "C" {

PLAIN_HOOKS(1)
PLAIN_HOOKS(2)
PLAIN_HOOKS(4)
PLAIN_HOOKS(8)
PLAIN_HOOKS(16)

void __tsan_read_range(void* address, size_t size) {
  if (size) touch(address, size, false);
}
void __tsan_write_range(void* address, size_t size) {
  if (size) touch(address, size, true);
}
void __tsan_vptr_update(void* object, void*) {
  touch(object, sizeof(void*), true);
}
void __tsan_vptr_read(void* object) {
  touch(object, sizeof(void*), false);
}
void __tsan_func_entry(void*) {}
void __tsan_func_exit() {}
void __tsan_init() {}

ATOMIC_HOOKS(8, uint8_t)
ATOMIC_HOOKS(16, uint16_t)
ATOMIC_HOOKS(32, uint32_t)
ATOMIC_HOOKS(64, uint64_t)

void __tsan_atomic_thread_fence(int) {}
void __tsan_atomic_signal_fence(int) {}

} // extern "C"
