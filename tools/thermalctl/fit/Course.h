#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <vector>

#include <Eigen/Core>

#include "fit/Powers.h"
#include "fit/Recorded.h"
#include "fit/Stretch.h"
#include "fit/ThermalModel.h"

// The temperatures of a model over one stretch of a recording, free-running: no reading corrects
// them.
//
// Shape:  `go` calls `take(file, row)` at each row of readings whose number in its file `stride`
//         divides, in the order of the files' set clocks. `temperature` and `sensitivities` are
//         those of that moment.
// Units:  seconds, degrees Celsius; `offsets` in seconds, of each file's clock; `starts` in degrees,
//         of each node and then of each lagged probe at the first row.
// Exact:  between two changes of what warms the device; a step adds no error.
// Errors: nothing is checked. What is given must outlive the course.
class Course {
public:
  using Take = std::function<void(size_t file, const ReadingRow& row)>;

  Course(const ThermalModel& model_, const PlantDescription& plant, const Recorded& recorded_,
         const Stretch& stretch_, const std::vector<double>& offsets_, size_t stride_,
         bool sensitive_);

  void go(const Eigen::VectorXd& starts, const Take& take);

  double temperature(size_t output) const;
  // By what each quantity is fitted by, and behind them by the starts. To be called once for each
  // row, and `sensitivity` then for its readings.
  void prepareSensitivities();
  void sensitivity(size_t output, Eigen::Ref<Eigen::RowVectorXd> row) const;

private:
  // Where a file has got to.
  struct Place {
    size_t row, rowEnd, change;
  };

  double startTime() const;
  void begin(const Eigen::VectorXd& starts);
  void take(const RecordedChange& change);
  void advanceTo(double time);
  void advanceSensitivities();
  void updateDrives();

  const ThermalModel& model;
  const Recorded& recorded;
  const Stretch& stretch;
  const std::vector<double>& offsets;
  const size_t stride;
  const bool sensitive;
  bool measuresAmbient = false;
  Powers powers;
  std::vector<Place> places;
  bool drivesAreOld = true;
  int64_t now = 0; // microseconds
  double ambient = 0;
  Eigen::VectorXd state;
  Eigen::VectorXd drives;
  Eigen::ArrayXd decay; // since the start
  // What is left of how far the temperatures above the ambient have jumped with it.
  Eigen::ArrayXd jumped;
  // What the states have of one another so far.
  ThermalModel::ByRow ofStates;
  ThermalModel::ByRow ofPowers; // by state and quantity
  // Of quantities that act by the speed, what their rows make of the states: at the start, and now.
  Eigen::RowVectorXd atStart, atNow;
  ThermalModel::ByRow effects; // by state and quantity, and behind them each start
  // Of the step before, which is mostly that of the next one.
  int64_t length = 0;
  const ThermalModel::Step* step = nullptr;
};
