#include "log/SampleClock.h"

#include <algorithm>
#include <limits>

// Without any time in the log the samples are the clock: the n-th of a sensor comes n periods
// behind the start, or behind the last change of the scenario.
int64_t SampleClock::at(const LogLine& line) {
  if (line.kind == LogLine::Kind::kChange) beginChange();
  if (line.kind != LogLine::Kind::kSample) return now;
  const auto period = periods.find(line.name);
  if (period == periods.end()) return now;
  const auto changing = inChange.find(line.name);
  if (changing != inChange.end()) {
    inChange.erase(changing);
    return now;
  }
  // Sensors of different periods count on their own, and each counts from 0: whoever is behind the
  // others must not turn the time back.
  const int64_t count = counts.try_emplace(period->first, 0).first->second++;
  return now = std::max(now, base + count * period->second);
}

void SampleClock::beginChange() {
  // The second change of a swap comes right behind the first one.
  const bool hasGoneOn = now > base;
  int64_t next = std::numeric_limits<int64_t>::max();
  for (const auto& [sensor, count] : counts)
    next = std::min(next, base + count * periods.find(sensor)->second);
  if (hasGoneOn && next > now) now += (next - now) / 2;
  base = now;
  for (auto& [sensor, count] : counts) {
    count = 0;
    inChange.insert(sensor);
  }
}

int64_t SampleClock::within(int64_t second, const LogLine& line) {
  constexpr int64_t kLastOfSecond = 999;
  now = std::max(now, second);
  wakeBeats(line);
  const auto period = periods.find(line.name);
  if (line.kind != LogLine::Kind::kSample || period == periods.end()) return now;
  const auto [entry, first] = beats.try_emplace(period->first, Beat{second, 0});
  Beat& beat = entry->second;
  if (beat.woken > 0) {
    --beat.woken;
    beat.latest = now;
  } else if (!first) {
    beat.latest = std::clamp(beat.latest + period->second, second, second + kLastOfSecond);
  }
  return now = std::max(now, beat.latest);
}

// A beat that ran ahead would never fall back: it would drag all lines behind it, in each second,
// to that second's end.
void SampleClock::wakeBeats(const LogLine& line) {
  constexpr uint32_t kSamplesOfChange = 2;
  if (line.kind == LogLine::Kind::kStart) beats.clear();
  if (line.kind != LogLine::Kind::kChange) return;
  for (auto& [sensor, beat] : beats)
    beat.woken = kSamplesOfChange;
}
