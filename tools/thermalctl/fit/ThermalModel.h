#pragma once

#include <cstddef>
#include <cstdint>
#include <unordered_map>
#include <vector>

#include <Eigen/Core>

#include "fit/Quantity.h"
#include "simulate/PlantFile.h"

// A plant with the values of one moment of a fit, taken apart into modes, and what its temperatures
// owe to each of its quantities.
//
// Shape:  states are the modes of the network and, behind them, one for each probe with a lag, which
//         holds what no mode holds of it. Outputs are the probes and then the nodes. All is linear,
//         and a quantity changes it by a product of a column and a row:
//           z' = -rates z + columns[q] (rows[q] z, or rows[q] z'), or columns[q] times a power.
//         So a basis that stays as it is serves, and no mode has to be differentiated.
// Units:  kelvin above the ambient, watts, seconds; derivatives by logarithms where the quantity is
//         fitted by its logarithm.
// Errors: nothing is checked; the plant must be one in which `readPlant` found no problem.
// Source: Daleckii and Krein (1965) for the derivative of a step: divided differences of exp.
struct ThermalModel {
  ThermalModel(const PlantDescription& plant, const std::vector<Quantity>& quantities);

  using ByRow = Eigen::Matrix<double, Eigen::Dynamic, Eigen::Dynamic, Eigen::RowMajor>;

  size_t states() const { return static_cast<size_t>(rates.size()); }

  Eigen::VectorXd rates;
  Eigen::MatrixXd outputs; // by state and output
  Eigen::VectorXd offsets; // of each output
  Eigen::VectorXd evenly;  // the states at one kelvin above the ambient everywhere
  ByRow starts;            // by state: of a kelvin at each node, then at each lagged probe
  Eigen::MatrixXd powers;  // by state and source: of a watt

  // By what a quantity acts: the states, how fast they change, the power of a source, or nothing
  // that has a course.
  enum class Role { kByState, kBySpeed, kByPower, kByIdle, kOffset, kAmbient };
  // What a quantity is to the model: `index` is that of a source or of an output, where the role
  // has one.
  struct Effect {
    Role role;
    size_t index;
  };
  std::vector<Effect> effects;
  // By state and quantity, which goes by the states or by their speed where its row is not 0.
  ByRow columns, rows;
  Eigen::RowVectorXd bySpeed; // 1 where a quantity acts by the speed, and 0
  ByRow gains; // what the integral of the states counts for: 1, and by the speed -rate
  std::vector<Eigen::Index> still; // the quantities of a role that has no course

  // What a step of one length makes of the states, of a power, and of a quantity's effects.
  //
  // Shape: by state; `pairs` and `drivenPairs` by state and the state that acts on it.
  struct Step {
    Eigen::ArrayXd decay;
    Eigen::ArrayXd driven;
    Eigen::MatrixXd pairs;
    Eigen::MatrixXd drivenPairs;
  };
  // Kept by length. Without `sensitive` the last two are left empty where they were not made yet.
  const Step& step(int64_t microseconds, bool sensitive) const;

private:
  struct Lagged {
    size_t probe;
    double rate;
    Eigen::VectorXd shares; // by mode: of the reading
  };
  void addLagged(const PlantDescription& plant);
  void addOutputs(const PlantDescription& plant);
  void addStarts(const PlantDescription& plant);
  void addPowers(const PlantDescription& plant);
  void addEffect(const PlantDescription& plant, const Quantity& quantity, Eigen::Index column);
  Eigen::VectorXd whole(const Eigen::VectorXd& modes) const;

  Eigen::MatrixXd shapes; // by node and mode
  std::vector<Lagged> lagged;
  mutable std::unordered_map<int64_t, Step> steps;
};
