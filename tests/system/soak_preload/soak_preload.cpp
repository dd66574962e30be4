// Shortens the scenario thread's sleep between two polls, widens the windows between a thread's
// look and its wait, and counts what the daemon does, at a cost that the daemon does not feel.
//
// THERMAL_SOAK names a file of memory shared with the soak; its layout is `Shared` here and
// `Shared` in the soak. Log lines are counted by their format alone, device writes by the level
// that they bear.

#include <dlfcn.h>
#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <time.h>
#include <unistd.h>

#include <atomic>
#include <chrono>

#include <pthread.h>
#include <stdarg.h>
#include <stdint.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include "base/Messages.h"
#include "base/Names.h"

namespace {

constexpr size_t kMaxSensors = 16;
constexpr size_t kMaxDevices = 32;
constexpr int kMaxDescriptors = 1024;
constexpr uint32_t kLongestDelay = 5000000; // nanoseconds

using Counter = std::atomic<uint64_t>;

struct SensorRecord {
  char name[16]; // written by the soak before the daemon starts
  Counter samples;
  Counter lastNanoseconds; // on the monotonic clock
  std::atomic<int64_t> temperature;
};

struct DeviceRecord {
  char node[16];      // written by the soak before the daemon starts
  Counter leastLevel; // written by the soak: a level below it counts in `writesBelow`
  Counter writes;
  Counter writesBelow;
};

struct Shared {
  Counter pollNanoseconds; // written by the soak
  Counter delayOneIn;      // written by the soak: of the operations on locks; 0 for none
  Counter polls;
  Counter changes;  // three-phase changes that all sensor threads have taken part in
  Counter checkIns; // of sensor threads, at the end of a change
  Counter swaps;
  Counter activations;
  Counter decisions;
  Counter scenario;  // in force: the name's first eight bytes
  char message[256]; // the last line of a kind that a soak does not expect
  SensorRecord sensors[kMaxSensors];
  DeviceRecord devices[kMaxDevices];
};

template <typename Function> Function next(const char* name) {
  return reinterpret_cast<Function>(dlsym(RTLD_NEXT, name));
}

Shared* mapShared() {
  const char* path = getenv("THERMAL_SOAK");
  if (path == nullptr) return nullptr;
  const int descriptor = open(path, O_RDWR | O_CLOEXEC);
  struct stat status;
  if (descriptor < 0 || fstat(descriptor, &status) != 0 || status.st_size != sizeof(Shared)) {
    fprintf(stderr, "%s is not the soak's file of %zu bytes\n", path, sizeof(Shared));
    abort();
  }
  void* memory = mmap(nullptr, sizeof(Shared), PROT_READ | PROT_WRITE, MAP_SHARED, descriptor, 0);
  close(descriptor);
  return memory == MAP_FAILED ? nullptr : static_cast<Shared*>(memory);
}

Shared* shared() {
  static Shared* const memory = mapShared();
  return memory;
}

using Nanosleep = int (*)(const timespec*, timespec*);

int sleepReally(const timespec* wanted, timespec* left) {
  static const auto realNanosleep = next<Nanosleep>("nanosleep");
  return realNanosleep(wanted, left);
}

uint32_t randomNumber() {
  thread_local uint32_t state = static_cast<uint32_t>(pthread_self() >> 8) | 1;
  state ^= state << 13;
  state ^= state >> 17;
  state ^= state << 5;
  return state;
}

// Now and then stops the thread where a busy machine might.
void delay() {
  const uint64_t oneIn = shared() == nullptr ? 0 : shared()->delayOneIn.load();
  if (oneIn == 0 || randomNumber() % oneIn != 0) return;
  const timespec pause{0, static_cast<long>(randomNumber() % kLongestDelay)};
  sleepReally(&pause, nullptr);
}

void countSample(const char* name, int temperature) {
  for (SensorRecord& sensor : shared()->sensors) {
    if (strcmp(sensor.name, name) != 0) continue;
    timespec now;
    clock_gettime(CLOCK_MONOTONIC, &now);
    sensor.temperature = temperature;
    sensor.lastNanoseconds =
        static_cast<uint64_t>(now.tv_sec) * 1000000000 + static_cast<uint64_t>(now.tv_nsec);
    ++sensor.samples;
    return;
  }
}

void noteScenario(const char* name) {
  uint64_t packed = 0;
  memcpy(&packed, name, strnlen(name, sizeof packed));
  shared()->scenario = packed;
}

// The daemon's constants and these are of different programs, and have different addresses.
bool is(const char* format, const char* known) {
  return strcmp(format, known) == 0;
}

bool isEverydayLine(const char* format) {
  return is(format, message::kVirtualSample) || is(format, message::kPutToSleep) ||
         is(format, message::kChangeBegins) || is(format, message::kSwapBegins) ||
         is(format, message::kUnknownScenario) || is(format, message::kScenarioLost);
}

// Counts the line if it is one of those that matter here; false for a line of an unexpected kind.
bool countLine(const char* format, va_list arguments) {
  if (is(format, message::kSample)) {
    const char* name = va_arg(arguments, const char*);
    va_arg(arguments, const char*);
    countSample(name, va_arg(arguments, int));
  } else if (is(format, message::kMonitorDecision) || is(format, message::kStepRequest) ||
             is(format, message::kStepRelease)) {
    ++shared()->decisions;
  } else if (is(format, message::kWoken)) {
    ++shared()->activations;
  } else if (is(format, message::kSensorThreadChanged)) {
    ++shared()->checkIns;
  } else if (is(format, message::kChangeDone)) {
    noteScenario(va_arg(arguments, const char*));
    ++shared()->changes;
  } else if (is(format, message::kSwapDone)) {
    ++shared()->swaps;
  } else {
    return isEverydayLine(format);
  }
  return true;
}

DeviceRecord* findDevice(int descriptor) {
  char link[32];
  char path[4096];
  snprintf(link, sizeof link, "/proc/self/fd/%d", descriptor);
  const ssize_t length = readlink(link, path, sizeof path - 1);
  if (length <= 0) return nullptr;
  path[length] = '\0';
  const char* slash = strrchr(path, '/');
  if (slash == nullptr) return nullptr;
  for (DeviceRecord& device : shared()->devices) {
    if (device.node[0] != '\0' && strcmp(device.node, slash + 1) == 0) return &device;
  }
  return nullptr;
}

// A device keeps its node open for ever, so what was found once stays true.
DeviceRecord* deviceOf(int descriptor) {
  static std::atomic<DeviceRecord*> known[kMaxDescriptors];
  if (shared() == nullptr || descriptor <= STDERR_FILENO || descriptor >= kMaxDescriptors)
    return nullptr;
  DeviceRecord* device = known[descriptor];
  if (device == nullptr) known[descriptor] = device = findDevice(descriptor);
  return device;
}

// The soak's tables hold the level itself: as a digit, or as the raw number of a CPU frequency.
uint64_t levelOf(const void* data, size_t size) {
  const unsigned char first = *static_cast<const unsigned char*>(data);
  return size == 1 ? static_cast<uint64_t>(first - '0') : first;
}

} // namespace

extern "C" __attribute__((visibility("default"), format(printf, 3, 4))) int
__android_log_print(int, const char*, const char* format, ...) {
  if (shared() == nullptr) return 0;
  va_list arguments;
  va_start(arguments, format);
  va_list again;
  va_copy(again, arguments);
  if (!countLine(format, arguments))
    vsnprintf(shared()->message, sizeof shared()->message, format, again);
  va_end(again);
  va_end(arguments);
  return 0;
}

extern "C" __attribute__((visibility("default"))) int nanosleep(const timespec* wanted,
                                                                timespec* left) {
  const auto time =
      std::chrono::seconds(wanted->tv_sec) + std::chrono::nanoseconds(wanted->tv_nsec);
  if (shared() == nullptr || time != kControlPeriod) return sleepReally(wanted, left);
  ++shared()->polls;
  const timespec shorter{0, static_cast<long>(shared()->pollNanoseconds)};
  return sleepReally(&shorter, left);
}

extern "C" __attribute__((visibility("default"))) ssize_t write(int descriptor, const void* data,
                                                                size_t size) {
  static const auto realWrite = next<ssize_t (*)(int, const void*, size_t)>("write");
  DeviceRecord* device = size == 0 ? nullptr : deviceOf(descriptor);
  if (device != nullptr) {
    ++device->writes;
    if (levelOf(data, size) < device->leastLevel) ++device->writesBelow;
  }
  return realWrite(descriptor, data, size);
}

extern "C" __attribute__((visibility("default"))) int pthread_mutex_lock(pthread_mutex_t* mutex) {
  static const auto realLock = next<int (*)(pthread_mutex_t*)>("pthread_mutex_lock");
  delay();
  return realLock(mutex);
}

extern "C" __attribute__((visibility("default"))) int pthread_cond_signal(pthread_cond_t* cond) {
  static const auto realSignal = next<int (*)(pthread_cond_t*)>("pthread_cond_signal");
  delay();
  const int result = realSignal(cond);
  delay();
  return result;
}

extern "C" __attribute__((visibility("default"))) int pthread_cond_wait(pthread_cond_t* cond,
                                                                        pthread_mutex_t* mutex) {
  static const auto realWait =
      next<int (*)(pthread_cond_t*, pthread_mutex_t*)>("pthread_cond_wait");
  delay();
  return realWait(cond, mutex);
}
