#include "fit/Replay.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <map>
#include <vector>

#include <fmt/format.h>

#include "fit/Powers.h"

// What is written is a workload of the simulator, a line for each time at which something changed:
//   time,ambient,watts cpu,watts gpu
//   0.000,25.0000,0.41,0
//   12.500,25.0000,2.83,0.2
// In the open loop the powers are those that were recorded, whatever levels the simulated daemon
// sets; in the closed one the columns are loads, and it throttles them by itself.

namespace {

// Behind it a file's end is no time, but that nothing ends.
constexpr double kNoEnd = 1e12;

double startOf(const Recorded& recorded) {
  double start = recorded.files.front().first;
  for (const RecordedFile& file : recorded.files)
    start = std::min(start, file.first);
  return start;
}

// In the order of the times, of all files.
std::vector<RecordedChange> changesOf(const Recorded& recorded) {
  std::vector<RecordedChange> all;
  for (const RecordedFile& file : recorded.files)
    all.insert(all.end(), file.changes.begin(), file.changes.end());
  std::stable_sort(all.begin(), all.end(), [](const RecordedChange& a, const RecordedChange& b) {
    return a.time < b.time;
  });
  return all;
}

std::string rowOf(double time, const Powers& powers, const PlantDescription& plant, Loop loop) {
  std::string row = fmt::format("{:.3f},{:.4f}", std::max(0.0, time), powers.ambient());
  for (size_t i = 0; i < plant.sources.size(); ++i)
    row += fmt::format(",{:.6g}", loop == Loop::kOpen ? powers.total(i) : powers.load(i));
  return row + "\n";
}

} // namespace

std::string workloadOf(const Recorded& recorded, const PlantDescription& plant, Loop loop) {
  std::string text = "time,ambient";
  for (const PlantDescription::Source& source : plant.sources)
    text += (loop == Loop::kOpen ? ",watts " : ",") + source.name;
  text += "\n";
  Powers powers(plant);
  const double start = startOf(recorded);
  const std::vector<RecordedChange> changes = changesOf(recorded);
  // What a source is first known to be, it was before, too; of several words at the start the last
  // holds.
  std::map<std::pair<RecordedChange::Kind, uint32_t>, bool> told;
  for (const RecordedChange& change : changes) {
    const bool isFirst = told.emplace(std::pair(change.kind, change.index), true).second;
    if (isFirst || change.time <= start) powers.take(change);
  }
  text += rowOf(0, powers, plant, loop);
  for (size_t i = 0; i < changes.size(); ++i) {
    powers.take(changes[i]);
    // Of what changes at one time one line is written, which has all of it.
    const bool isLast = i + 1 == changes.size() || changes[i + 1].time > changes[i].time;
    if (isLast && changes[i].time > start)
      text += rowOf(changes[i].time - start, powers, plant, loop);
  }
  return text;
}

int64_t lengthOf(const Recorded& recorded) {
  double end = startOf(recorded);
  for (const RecordedFile& file : recorded.files) {
    if (!file.rows.empty()) end = std::max(end, file.rows.back().time);
    if (!file.changes.empty()) end = std::max(end, file.changes.back().time);
    if (file.last < kNoEnd) end = std::max(end, file.last);
  }
  return std::llround((end - startOf(recorded)) * 1000);
}
