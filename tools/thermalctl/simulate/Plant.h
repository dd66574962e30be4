#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <utility>
#include <vector>

#include "simulate/Network.h"
#include "simulate/PlantFile.h"
#include "simulate/Random.h"
#include "simulate/SourceLevels.h"
#include "trace/Trace.h"

// As std::round has it, which is a call into a library where the processor need not have it. Of
// numbers that the type can hold.
template <typename Whole> Whole nearestWhole(double number) {
  const auto whole = static_cast<Whole>(number);
  const double rest = number - static_cast<double>(whole);
  return whole + static_cast<Whole>(rest >= 0.5) - static_cast<Whole>(rest <= -0.5);
}

// As a reading has it: rounded. A plant may run away to any temperature; the daemon knows 32 bits.
inline int32_t millidegreesOf(double celsius) {
  constexpr double kLeast = std::numeric_limits<int32_t>::min();
  constexpr double kMost = std::numeric_limits<int32_t>::max();
  return nearestWhole<int32_t>(std::min(std::max(kLeast, celsius * 1000), kMost));
}

// The board's heat in time: what the sources give off at the devices' levels and the workload's
// loads, and what the sensors read of it.
//
// Shape:  between two changes everything is constant or goes along a straight line: whoever changes
//         something first goes on to the time of the change.
// Units:  degrees Celsius, the load as a share of 1, watts, slopes of these per second; levels as
//         indices into a device's table; time in milliseconds.
// Exact:  a source whose load rises past what its speed can do is busy all the time from there on:
//         where its power bends, between two milliseconds, a step ends.
// Errors: nothing is checked; `description` must be one that `readPlant` found no problem in. It
//         must outlive the plant.
// Source: the plant file; the noise comes of `seed` alone.
class Plant {
public:
  Plant(const PlantDescription& description, uint64_t seed);

  // What holds from the present time on.
  void setAmbient(double celsius, double slope = 0);
  void setLoad(size_t source, double load, double slope = 0);
  // Measured: all that the source gives off, whatever its level, load and idle power.
  void setWatts(size_t source, double watts, double slope = 0);
  void setLevel(size_t device, int32_t level);

  // Goes on to `time`, which must not lie before the present one.
  void advanceTo(int64_t time);

  double temperature(size_t node) const { return network.temperature(node); }

  // What the probe's sensor reads now, in millidegrees. Every reading has noise of its own.
  int32_t reading(size_t probe);

  // What a source gives off from now on, and how often that of any has been set anew. Along a ramp
  // it changes without that.
  double watts(size_t source) const { return sources[source].watts.value; }
  uint64_t powerChanges() const { return changes; }
  bool ramps() const { return anyRamp; }

  // Of every source, up to the present time.
  std::vector<Performance> performance() const;

private:
  // A value and how it goes on.
  //
  // Units: `slope` per second.
  struct Line {
    double over(double seconds) const { return (value + slope * seconds / 2) * seconds; }

    double value = 0;
    double slope = 0;
  };
  // What the workload gives a source: its load, or its watts as they were measured.
  //
  // Units: `since` in milliseconds.
  struct Given {
    Line line;
    int64_t since = 0;
    bool measured = false;
  };
  struct Source {
    Given given;
    SourceLevels levels;
    // What they and the description make of it, at the time when they were looked at last.
    Line load, rate, watts;
    int64_t since = 0;
    double sinceBeyond = 0;
    Performance sum;                                       // up to then
    double bend = std::numeric_limits<double>::infinity(); // seconds until its slopes change
  };

  // A number ahead: no reading waits until its own is added up.
  struct Noise {
    explicit Noise(uint64_t seed) : random(seed), ahead(random.normal()) {}
    double next() { return std::exchange(ahead, random.normal()); }

    Random random;
    double ahead;
  };

  static Network networkOf(const PlantDescription& plant, std::vector<size_t>& observed);
  void give(size_t source, const Given& given);
  void change(size_t source);
  void update(size_t source);
  static Line work(Source& source, double speed);
  void followRamps();
  double nextBend() const;
  Performance upToNow(const Source& source) const;
  void updatePowers();

  const PlantDescription& plant;
  // Above `network`, whose making fills it.
  std::vector<size_t> observed; // by probe: the state of the network that it reads
  Network network;
  std::vector<Noise> noise; // by probe
  std::vector<Source> sources;
  bool powersChanged = true;
  bool anyRamp = false; // of a source
  uint64_t changes = 0;
  int64_t now = 0;
  double beyond = 0; // in seconds, within a step
};
