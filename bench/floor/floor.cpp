// The least that sampling can cost: one thread, one `pread` and one integer parse per sensor,
// absolute deadlines. With "log" it also writes the line that the daemon writes for each sample.
//
//   bench-floor PERIOD_MS nolog|log NODES [CONTROL_FILE...]
//
// NODES is a file with one path per line. With control files it is the least that sampling can cost
// a daemon which keeps its nodes as streams and looks at these files each second: one seek and one
// read per sensor, and a second thread that opens, reads and closes each file between two sleeps.

#include <android/log.h>
#include <fcntl.h>
#include <time.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "base/Log.h"
#include "base/Names.h"

namespace {

constexpr long kNanosecondsPerMillisecond = 1000000;
constexpr long kNanosecondsPerSecond = 1000000000;

struct FloorSensor {
  std::string name;
  int node;
  std::atomic<int32_t> temperature{0};
};

std::vector<std::unique_ptr<FloorSensor>> openSensors(const char* list) {
  std::vector<std::unique_ptr<FloorSensor>> sensors;
  std::ifstream paths(list);
  for (std::string path; std::getline(paths, path);) {
    const int node = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
    if (node < 0) {
      std::fprintf(stderr, "%s: %s\n", path.c_str(), std::strerror(errno));
      std::exit(EXIT_FAILURE);
    }
    sensors.push_back(std::make_unique<FloorSensor>());
    sensors.back()->name = "sensor" + std::to_string(sensors.size() - 1);
    sensors.back()->node = node;
  }
  return sensors;
}

using Text = std::array<char, 32>;

ssize_t readAnew(int node, Text& text, bool seek) {
  if (!seek) return ::pread(node, text.data(), text.size() - 1, 0);
  return ::lseek(node, 0, SEEK_SET) < 0 ? -1 : ::read(node, text.data(), text.size() - 1);
}

void sample(FloorSensor& sensor, bool log, bool seek) {
  Text text;
  const ssize_t length = readAnew(sensor.node, text, seek);
  if (length < 0) return;
  text[static_cast<size_t>(length)] = '\0';
  const auto value = static_cast<int32_t>(std::strtol(text.data(), nullptr, 10));
  sensor.temperature.store(value, std::memory_order_relaxed);
  if (log)
    __android_log_print(ANDROID_LOG_VERBOSE, kLogTag, message::kSample, sensor.name.c_str(),
                        kDefaultScenario, value);
}

void advance(timespec& deadline, long milliseconds) {
  deadline.tv_sec += milliseconds / 1000;
  deadline.tv_nsec += milliseconds % 1000 * kNanosecondsPerMillisecond;
  if (deadline.tv_nsec < kNanosecondsPerSecond) return;
  deadline.tv_nsec -= kNanosecondsPerSecond;
  ++deadline.tv_sec;
}

void lookEachSecond(const std::vector<const char*>& files) {
  const timespec second{1, 0};
  for (;;) {
    for (const char* path : files) {
      Text text;
      const int file = ::open(path, O_RDONLY | O_CLOEXEC);
      if (file < 0 || ::pread(file, text.data(), text.size(), 0) < 0 || ::close(file) != 0) {
        std::fprintf(stderr, "%s: %s\n", path, std::strerror(errno));
        std::exit(EXIT_FAILURE);
      }
    }
    ::clock_nanosleep(CLOCK_MONOTONIC, 0, &second, nullptr);
  }
}

} // namespace

int main(int argc, char* argv[]) {
  if (argc < 4) {
    std::fprintf(stderr, "usage: %s PERIOD_MS nolog|log NODES [CONTROL_FILE...]\n", argv[0]);
    return EXIT_FAILURE;
  }
  const long period = std::strtol(argv[1], nullptr, 10);
  const bool log = std::string(argv[2]) == "log";
  __android_log_set_minimum_priority(ANDROID_LOG_VERBOSE);
  const auto sensors = openSensors(argv[3]);
  const std::vector<const char*> controlFiles(argv + 4, argv + argc);
  const bool looks = !controlFiles.empty();
  if (looks) std::thread(lookEachSecond, controlFiles).detach();

  timespec deadline;
  ::clock_gettime(CLOCK_MONOTONIC, &deadline);
  for (;;) {
    for (const auto& sensor : sensors)
      sample(*sensor, log, looks);
    advance(deadline, period);
    while (::clock_nanosleep(CLOCK_MONOTONIC, TIMER_ABSTIME, &deadline, nullptr) == EINTR) {
    }
  }
}
