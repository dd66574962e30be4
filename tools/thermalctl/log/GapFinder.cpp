#include "log/GapFinder.h"

#include <algorithm>

GapFinder::GapFinder(const Periods& periods_) : periods(periods_) {
  for (const auto& [sensor, period] : periods) {
    shortestPeriod = shortestPeriod == 0 ? period : std::min<int64_t>(shortestPeriod, period);
    longestPeriod = std::max<int64_t>(longestPeriod, period);
  }
}

// One sample may come late, as threads do on a busy device. In a change of the scenario each thread
// waits for the slowest.
int64_t GapFinder::longest(int64_t period, int64_t uncertainty) const {
  constexpr int64_t kLate = 500;
  return 2 * (changing ? longestPeriod : period) + kLate + uncertainty;
}

std::vector<LogGap> GapFinder::take(int64_t time, int64_t uncertainty, const LogLine& line) {
  std::vector<LogGap> gaps;
  const int64_t before = lastMessage.value_or(time);
  lastMessage = time;
  // Nobody was heard of for longer than the fastest sensor is silent: a gap of everything. Else it
  // may be one sensor that is missing.
  if (shortestPeriod > 0 && time - before > longest(shortestPeriod, uncertainty)) {
    gaps.push_back({before + shortestPeriod, time, ""});
    changing = false;
    // From here on each sensor is waited for anew.
    for (auto& [sensor, last] : lastSample)
      last = time;
  }
  if (line.kind == LogLine::Kind::kChange) changing = true;
  const auto period = periods.find(line.name);
  if (line.kind == LogLine::Kind::kSample && period != periods.end()) {
    const auto last = lastSample.try_emplace(period->first, time).first;
    if (time - last->second > longest(period->second, uncertainty))
      gaps.push_back({last->second + period->second, time, period->first});
    last->second = time;
  }
  if (line.kind == LogLine::Kind::kScenario) changing = false;
  return gaps;
}

std::vector<LogGap> GapFinder::finish(int64_t time, int64_t uncertainty) const {
  std::vector<LogGap> gaps;
  for (const auto& [sensor, last] : lastSample) {
    const int64_t period = periods.find(sensor)->second;
    if (time - last > longest(period, uncertainty)) gaps.push_back({last + period, time, sensor});
  }
  return gaps;
}

void PeriodsSeen::take(int64_t time, const LogLine& sample) {
  constexpr int64_t kRounding = 10;
  constexpr size_t kMostLengths = 1024;
  auto sensor = sensors.find(sample.name);
  if (sensor == sensors.end()) {
    sensors.emplace(sample.name, Intervals{time, {}});
    return;
  }
  Intervals& seen = sensor->second;
  const int64_t length = (time - seen.last + kRounding / 2) / kRounding * kRounding;
  seen.last = time;
  // Samples of one moment are those of a change.
  if (length > 0 && (seen.counts.size() < kMostLengths || seen.counts.count(length) > 0))
    ++seen.counts[length];
}

void PeriodsSeen::addTo(Periods& known) const {
  for (const auto& [name, seen] : sensors) {
    if (seen.counts.empty()) continue;
    const auto most =
        std::max_element(seen.counts.begin(), seen.counts.end(),
                         [](const auto& a, const auto& b) { return a.second < b.second; });
    known.try_emplace(name, static_cast<uint32_t>(most->first));
  }
}
