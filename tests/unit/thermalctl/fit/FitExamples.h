#pragma once

#include <cmath>
#include <cstddef>
#include <string>
#include <vector>

#include <Eigen/Core>

#include "fit/Estimate.h"
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

// The free quantities that every thermal model has.
inline constexpr char kThermal[] = "\"node.*\", \"resistance.*\"";

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

// A search that nobody stops.
inline bool goOn(const std::string& /*stage*/, double /*misfit*/) {
  return true;
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

// The readings of a true plant, and a misfit of that plant at the values by which they were made.
struct Measured {
  explicit Measured(const std::string& free = "", const std::string& text = kPlant,
                    size_t seconds = 1200)
      : plant(plantOf(text)), quantities(quantitiesOf(free, text)), recordings{recorded(seconds)},
        misfit(plant, quantities, recordings, stretchesOf(recordings[0], 0, {0, 0})),
        values(Eigen::VectorXd::Constant(static_cast<Eigen::Index>(misfit.unknowns.count), 24)) {
    measure(recordings, plant, {0, 0});
    misfit.likelihoods.assign(misfit.outputs(), {0.3, 0});
    for (size_t i = 0; i < quantities.size(); ++i)
      values[static_cast<Eigen::Index>(i)] =
          quantities[i].byLogarithm() ? std::log(quantities[i].guess) : quantities[i].guess;
    values[static_cast<Eigen::Index>(misfit.unknowns.clocksBegin())] = 0;
  }
  Measured(const Measured&) = delete;
  Measured& operator=(const Measured&) = delete;

  // Of the chip in the rows from one up to another.
  void addToChip(size_t from, size_t to, double celsius) {
    RecordedFile& file = recordings[0].files[1];
    for (size_t row = from; row < to; ++row)
      file.readings[file.rows[row].first].celsius += celsius;
  }

  const PlantDescription plant;
  const std::vector<Quantity> quantities;
  std::vector<Recorded> recordings;
  Misfit misfit;
  Eigen::VectorXd values;
};

// As if the fit had ended there, and each number had an interval of a tenth of it.
inline Estimation estimationOf(const Measured& measured) {
  Estimation estimation;
  const Misfit& misfit = measured.misfit;
  estimation.fit.values = measured.values;
  estimation.fit.information = misfit.evidence(measured.values).information;
  for (const double value : misfit.naturalOf(measured.values))
    estimation.estimates.push_back({value, 0.95 * value, 1.05 * value, false, {}});
  estimation.frozen.assign(misfit.quantities.size(), false);
  const auto count = static_cast<Eigen::Index>(misfit.quantities.size());
  estimation.correlations = Eigen::MatrixXd::Identity(count, count);
  estimation.agreement = agreementOf(misfit, measured.values);
  return estimation;
}

} // namespace fit_examples
