#include "log/Window.h"

#include <algorithm>

void Window::begin(const TraceDescription& run) {
  isOpen = false;
  temperatures.clear();
  levels.clear();
  algorithms.clear();
  powers.clear();
  scenarioBefore.reset();
  configurationBefore.reset();
  sink.begin(run);
}

bool Window::shows(int64_t time) {
  if (time < times.from) return false;
  if (!isOpen && time > times.from) open();
  return time <= times.to;
}

// What held at the start of the window is not told again inside of it: it comes first, as of time
// 0.
void Window::open() {
  isOpen = true;
  if (configurationBefore) sink.configuration(0, *configurationBefore);
  if (scenarioBefore) sink.scenario(0, *scenarioBefore);
  for (const auto& [device, in] : levels)
    sink.level(0, device, in.level, in.entry);
  for (const auto& [sensor, millidegrees] : temperatures)
    sink.temperature(0, sensor, millidegrees);
  for (const auto& [algorithm, level] : algorithms) {
    if (level != kAsleep) sink.algorithm(0, algorithm, level);
  }
  for (const auto& [source, microwatts] : powers)
    sink.power(0, source, microwatts);
}

void Window::temperature(int64_t time, size_t sensor, int32_t millidegrees) {
  if (!isOpen && time <= times.from) temperatures[sensor] = millidegrees;
  if (shows(time) && isOpen) sink.temperature(time - times.from, sensor, millidegrees);
}

void Window::level(int64_t time, size_t device, int32_t level, const std::string& entry) {
  if (!isOpen && time <= times.from) levels[device] = {level, entry};
  if (shows(time) && isOpen) sink.level(time - times.from, device, level, entry);
}

void Window::algorithm(int64_t time, size_t algorithm, int32_t level) {
  if (!isOpen && time <= times.from) algorithms[algorithm] = level;
  if (shows(time) && isOpen) sink.algorithm(time - times.from, algorithm, level);
}

void Window::power(int64_t time, size_t source, int64_t microwatts) {
  if (!isOpen && time <= times.from) powers[source] = microwatts;
  if (shows(time) && isOpen) sink.power(time - times.from, source, microwatts);
}

void Window::scenario(int64_t time, const std::string& name) {
  if (!isOpen && time <= times.from) scenarioBefore = name;
  if (shows(time) && isOpen) sink.scenario(time - times.from, name);
}

void Window::configuration(int64_t time, const std::string& name) {
  if (!isOpen && time <= times.from) configurationBefore = name;
  if (shows(time) && isOpen) sink.configuration(time - times.from, name);
}

void Window::standstill(int64_t time) {
  if (time <= times.to) sink.standstill(std::max<int64_t>(0, time - times.from));
}

void Window::gap(int64_t from, int64_t to, std::optional<size_t> sensor) {
  // Of what a gap lies behind, the last sample holds no more.
  if (from <= times.from && sensor) temperatures.erase(*sensor);
  if (from <= times.from && !sensor) temperatures.clear();
  const int64_t first = std::max(from, times.from);
  const int64_t end = std::min(to, times.to);
  if (first >= end) return;
  shows(to);
  sink.gap(first - times.from, end - times.from, sensor);
}

void Window::end(int64_t time, const std::vector<Performance>& performance) {
  if (!isOpen) open();
  const bool isWhole = times.from == 0 && time <= times.to;
  // What a window has of the work is not known.
  sink.end(std::max<int64_t>(0, std::min(time, times.to) - times.from),
           isWhole ? performance : std::vector<Performance>());
}
