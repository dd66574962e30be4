#include "report/Comparison.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>

#include "text/Columns.h"
#include "text/Phrases.h"

namespace {

// The sums over the moments at which a sensor's value is known in both runs; in kelvin.
struct Differences {
  size_t count = 0;
  double sum = 0;
  double squares = 0;
  double largest = 0;
  int64_t largestAt = 0; // in the live run

  void add(int64_t time, double difference) {
    ++count;
    sum += difference;
    squares += difference * difference;
    if (count > 1 && std::abs(difference) <= std::abs(largest)) return;
    largest = difference;
    largestAt = time;
  }
  double mean() const { return sum / static_cast<double>(count); }
  double meanSquare() const { return squares / static_cast<double>(count); }
};

} // namespace

// A live run and a simulated one, by the sensors that both have.
struct Comparison::Pair {
  struct Sensor {
    std::string name;
    const HeldSeries* live;
    const HeldSeries* simulated;
  };
  const Run& live;
  const Run& simulated;
  std::vector<Sensor> sensors{};

  Pair(const Run& live_, const Run& simulated_) : live(live_), simulated(simulated_) {
    for (size_t i = 0; i < live.names.size(); ++i) {
      for (size_t j = 0; j < simulated.names.size(); ++j) {
        const bool both = live.names[i] == simulated.names[j] && live.courses[i].range() &&
                          simulated.courses[j].range();
        if (both) sensors.push_back({live.names[i], &live.courses[i], &simulated.courses[j]});
      }
    }
  }

  int64_t finestStep() const {
    int64_t step = 1;
    for (const Sensor& sensor : sensors)
      step = std::max({step, sensor.live->step(), sensor.simulated->step()});
    return step;
  }

  // Whether there is any shape to go by: a kelvin is more than noise.
  static bool moves(const Sensor& sensor) {
    constexpr int32_t kKelvin = 1000;
    return sensor.live->range() >= kKelvin && sensor.simulated->range() >= kKelvin;
  }
  bool moves() const {
    return std::any_of(sensors.begin(), sensors.end(),
                       [](const Sensor& sensor) { return moves(sensor); });
  }

  // With the simulated run begun at `offset` in the live one.
  Differences differences(const Sensor& sensor, int64_t offset, int64_t step) const {
    Differences all;
    const int64_t end = std::min(live.duration, simulated.duration + offset);
    for (int64_t time = std::max<int64_t>(0, offset); time < end; time += step) {
      const auto there = sensor.live->at(time);
      const auto here = sensor.simulated->at(time - offset);
      if (there && here) all.add(time, (*here - *there) / 1000.0);
    }
    return all;
  }

  // How badly the shapes fit. A constant difference hardly counts, or it would be made up for by a
  // wrong offset; but of a straight slope nothing else tells the offset.
  double misfit(int64_t offset, int64_t step) const {
    constexpr double kOfConstant = 0.01;
    double total = 0;
    for (const Sensor& sensor : sensors) {
      if (!moves(sensor)) continue;
      const Differences all = differences(sensor, offset, step);
      if (all.count < 2) return HUGE_VAL;
      const double constant = all.mean() * all.mean();
      total += all.meanSquare() - constant + kOfConstant * constant;
    }
    return total;
  }

  int64_t best(int64_t first, int64_t last, int64_t step, int64_t looks) const {
    int64_t found = first;
    double least = HUGE_VAL;
    for (int64_t offset = first; offset <= last; offset += step) {
      const double here = misfit(offset, looks);
      if (here >= least) continue;
      least = here;
      found = offset;
    }
    return found;
  }

  // From coarse to fine, so that days take no longer than hours.
  int64_t offset() const {
    constexpr int64_t kLooks = 1500;
    const int64_t finest = finestStep();
    const int64_t longest = std::max(live.duration, simulated.duration);
    // Half of the shorter run lies beside the other one, at least: a short piece fits anywhere.
    const int64_t overlap = std::min(live.duration, simulated.duration) / 2;
    int64_t step = std::max(finest, longest / kLooks / finest * finest);
    // As many offsets as moments, about 1500 of each, however long the runs are.
    const int64_t looks = step;
    int64_t found =
        best(-((simulated.duration - overlap) / step) * step, live.duration - overlap, step, looks);
    while (step > finest) {
      const int64_t around = 2 * step;
      step = std::max(finest, step / 4);
      found = best(found - around, found + around, step, std::max(finest, looks / 10));
    }
    return found;
  }
};

void Comparison::begin(const TraceDescription& description) {
  Run run;
  run.origin = next;
  run.name = description.name;
  for (const SensorTrack& sensor : description.sensors)
    run.names.push_back(sensor.kind == SensorTrack::Kind::kPlantNode ? "" : sensor.name);
  run.courses.resize(run.names.size());
  runs.push_back(std::move(run));
}

void Comparison::temperature(int64_t time, size_t sensor, int32_t millidegrees) {
  if (!runs.back().names[sensor].empty()) runs.back().courses[sensor].set(time, millidegrees);
}

void Comparison::gap(int64_t from, int64_t to, std::optional<size_t> sensor) {
  Run& run = runs.back();
  if (sensor) return run.courses[*sensor].skip(from, to);
  for (HeldSeries& course : run.courses)
    course.skip(from, to);
}

void Comparison::end(int64_t time, const std::vector<Performance>&) {
  runs.back().duration = time;
  for (HeldSeries& course : runs.back().courses)
    course.finish(time);
}

void Comparison::print(std::ostream& out) const {
  for (const Run& live : runs) {
    if (live.origin != Origin::kLive) continue;
    for (const Run& simulated : runs) {
      if (simulated.origin == Origin::kSimulated) print(Pair(live, simulated), out);
    }
  }
}

void Comparison::print(const Pair& pair, std::ostream& out) {
  out << '\n' << pair.simulated.name << " compared with " << pair.live.name << '\n';
  if (pair.sensors.empty()) {
    out << "no sensor has samples in both\n";
    return;
  }
  const bool moves = pair.moves();
  const int64_t offset = moves ? pair.offset() : 0;
  const std::string length = rounded(std::abs(static_cast<double>(offset)) / 1000, 1) + " s";
  if (!moves)
    out << "time offset: none can be found, since the temperatures hardly move; compared from both "
           "beginnings on\n";
  else if (offset < 0)
    out << "time offset: -" << length << ", " << pair.live.name << " begins " << length
        << " into the simulated run\n";
  else
    out << "time offset: " << length << ", the simulated run begins " << length << " into "
        << pair.live.name << '\n';
  std::vector<std::vector<std::string>> rows = {
      {"sensor", "RMS, K", "largest, K", "at", "mean, K", "compared over"}};
  for (const Pair::Sensor& sensor : pair.sensors) {
    const int64_t step = pair.finestStep();
    const Differences all = pair.differences(sensor, offset, step);
    if (all.count == 0) {
      rows.push_back({sensor.name, "-", "-", "-", "-", "0:00:00"});
      continue;
    }
    rows.push_back({sensor.name, rounded(std::sqrt(all.meanSquare()), 2), rounded(all.largest, 2),
                    clockTime(all.largestAt / 1000), rounded(all.mean(), 2),
                    clockTime(static_cast<int64_t>(all.count) * step / 1000)});
  }
  for (const std::string& line : inColumns(rows, 1))
    out << line << '\n';
}
