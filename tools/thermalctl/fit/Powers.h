#pragma once

#include <cstddef>
#include <optional>
#include <vector>

#include "fit/Recorded.h"
#include "simulate/PlantFile.h"
#include "simulate/SourceLevels.h"

// What each source gives off, as the changes of a recording tell it, and the ambient.
//
// Shape: a source's power is measured, or of its load, its levels and its idle power.
// Units: W, degrees Celsius.
// Source: of what a recording says nothing, the plant.
class Powers {
public:
  explicit Powers(const PlantDescription& plant_);

  void take(const RecordedChange& change);

  double total(size_t source) const { return ofLoad(source) + ofIdle(source) + measured(source); }
  // Of its load and its levels.
  double ofLoad(size_t source) const { return busy[source]; }
  double ofIdle(size_t source) const;
  double ambient() const { return air; }
  // Of measured watts the load that would make them, at the present levels.
  double load(size_t source) const;

private:
  struct Source {
    double load = 0;
    SourceLevels levels;
    std::optional<double> measured;
  };

  double measured(size_t source) const { return states[source].measured.value_or(0); }
  void setLevel(size_t device, size_t level);
  void update(size_t source);

  const PlantDescription& plant;
  std::vector<Source> states;
  std::vector<double> busy;
  double air;
};
