#pragma once

#include <string>
#include <vector>

#include <Eigen/Core>

#include "fit/FreeQuantities.h"
#include "fit/Misfit.h"
#include "simulate/PlantFile.h"
#include "toml/Problems.h"
#include "trace/Trace.h"

// A small device: a chip in a case, each with a sensor, that of the case with a lag.
namespace fit_examples {

inline constexpr char kPlant[] = "ambient = 20\n"
                                 "[node.chip]\n"
                                 "joules_per_kelvin = 2.5\n"
                                 "[node.case]\n"
                                 "joules_per_kelvin = 40.0 # a guess\n"
                                 "[[resistance]]\n"
                                 "between = [\"chip\", \"case\"]\n"
                                 "kelvin_per_watt = 8\n"
                                 "[[resistance]]\n"
                                 "between = [\"case\", \"ambient\"]\n"
                                 "kelvin_per_watt = 5\n"
                                 "[source.cpu]\n"
                                 "node = \"chip\"\n"
                                 "watts = 3\n"
                                 "idle_watts = 0.2\n"
                                 "[source.panel]\n"
                                 "node = \"case\"\n"
                                 "watts = 1\n"
                                 "[sensor.chip_t]\n"
                                 "node = \"chip\"\n"
                                 "[sensor.case_t]\n"
                                 "node = \"case\"\n"
                                 "lag = 12\n";

inline TraceDescription board() {
  TraceDescription board;
  for (const char* name : {"chip_t", "case_t"})
    board.sensors.push_back({name, SensorTrack::Kind::kReal, 1000, {}});
  return board;
}

inline PlantDescription plantOf(const std::string& text = kPlant) {
  Problems problems;
  return readPlant(text, "plant.toml", board(), problems);
}

inline std::vector<Quantity> quantitiesOf(const std::string& free,
                                          const std::string& text = kPlant) {
  Problems problems;
  return readFreeQuantities(text + "[fit]\nfree = [" + free + "]\n", "plant.toml", plantOf(text),
                            board(), problems);
}

// The CPU and the panel step, on a clock of their own; the sensors are read each second on another.
inline Recorded recorded(size_t seconds = 300) {
  RecordedFile loads;
  loads.name = "loads.csv";
  loads.last = static_cast<double>(seconds) + 60;
  using Kind = RecordedChange::Kind;
  for (size_t i = 0; i * 40 < seconds; ++i) {
    const double time = static_cast<double>(i) * 40;
    loads.changes.push_back({time, Kind::kLoad, 0, i % 2 == 0 ? 1.0 : 0.25});
    if (i % 3 == 0) loads.changes.push_back({time, Kind::kLoad, 1, i % 2 == 0 ? 0.5 : 1.0});
    if (i == 2) loads.changes.push_back({time + 3, Kind::kAmbient, 0, 23});
  }
  RecordedFile sensors;
  sensors.name = "sensors.csv";
  for (size_t i = 5; i < seconds; ++i) {
    const auto first = static_cast<uint32_t>(sensors.readings.size());
    sensors.readings.push_back({0, 30});
    sensors.readings.push_back({1, 25});
    sensors.rows.push_back({static_cast<double>(i), first, first + 2, static_cast<int>(i)});
  }
  sensors.first = 5;
  sensors.last = static_cast<double>(seconds);
  return {"loads.csv,sensors.csv", {loads, sensors}};
}

// What a plant would have shown: each reading becomes what the model has for it.
inline void measure(std::vector<Recorded>& recordings, const PlantDescription& plant,
                    const std::vector<double>& offsets) {
  const std::vector<Quantity> none;
  const std::vector<Stretch> stretches = stretchesOf(recordings[0], 0, offsets);
  Misfit misfit(plant, none, recordings, stretches);
  Eigen::VectorXd values =
      Eigen::VectorXd::Constant(static_cast<Eigen::Index>(misfit.unknowns.count), 24);
  for (size_t i = 0; i < offsets.size(); ++i)
    if (const auto clock = misfit.unknowns.clocks[0][i])
      values[static_cast<Eigen::Index>(*clock)] = offsets[i];
  std::vector<double> fitted;
  misfit.eachResidual(values, [&](const Residual& residual) { fitted.push_back(residual.fitted); });
  for (size_t i = 0; i < fitted.size(); ++i)
    recordings[0].files[1].readings[i].celsius = fitted[i];
}

} // namespace fit_examples
