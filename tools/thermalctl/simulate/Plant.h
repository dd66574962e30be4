#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "simulate/Network.h"
#include "simulate/PlantFile.h"
#include "simulate/Random.h"
#include "trace/Trace.h"

// As a reading has it: rounded. A plant may run away to any temperature; the daemon knows 32 bits.
int32_t millidegreesOf(double celsius);

// The board's heat in time: what the sources give off at the devices' levels and the workload's
// loads, and what the sensors read of it.
//
// Shape:  between two changes everything is constant: whoever changes something first goes on to
//         the time of the change.
// Units:  degrees Celsius, the load as a share of 1, levels as indices into a device's table; time
//         in milliseconds.
// Errors: nothing is checked; `description` must be one that `readPlant` found no problem in. It
//         must outlive the plant.
// Source: the plant file; the noise comes of `seed` alone.
class Plant {
public:
  Plant(const PlantDescription& description, uint64_t seed);

  // What holds from the present time on.
  void setAmbient(double celsius);
  void setLoad(size_t source, double load);
  void setLevel(size_t device, int32_t level);

  // Goes on to `time`, which must not lie before the present one.
  void advanceTo(int64_t time);

  double temperature(size_t node) const { return network.temperature(node); }

  // What the probe's sensor reads now, in millidegrees. Every reading has noise of its own.
  int32_t reading(size_t probe);

  // What a source gives off from now on, and how often that of any has been set anew.
  double watts(size_t source) const { return sources[source].watts; }
  uint64_t powerChanges() const { return changes; }

  // Of every source, up to the present time.
  std::vector<Performance> performance() const;

private:
  struct Source {
    double load = 0;
    size_t level = 0;
    size_t cores = 0;
    double demanded = 0;
    double delivered = 0;
    double joules = 0;
    // What load, level and cores and the description make of it.
    double rate = 0;
    double watts = 0;
  };

  static Network networkOf(const PlantDescription& plant, std::vector<size_t>& observed);
  void update(size_t source);
  void updatePowers();

  const PlantDescription& plant;
  // Above `network`, whose making fills it.
  std::vector<size_t> observed; // by probe: the state of the network that it reads
  Network network;
  std::vector<Random> noise; // by probe
  std::vector<Source> sources;
  bool powersChanged = true;
  uint64_t changes = 0;
  int64_t now = 0;
};
