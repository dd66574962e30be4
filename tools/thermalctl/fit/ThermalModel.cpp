#include "fit/ThermalModel.h"

#include <algorithm>
#include <cmath>

#include "fit/Indices.h"
#include "simulate/ExpDifferences.h"
#include "simulate/Modes.h"

namespace {

using Eigen::Index;
using Eigen::MatrixXd;
using Eigen::VectorXd;

// A lag that is exactly as slow as a mode leaves no state of its own. So near to one, a lag is
// moved by a share that no recording can tell, and costs five of sixteen digits.
constexpr double kResonance = 1e-5;

constexpr size_t kStepsKept = 5000;

NetworkNumbers numbersOf(const PlantDescription& plant) {
  NetworkNumbers numbers(plant.nodes.size());
  for (size_t i = 0; i < plant.nodes.size(); ++i)
    numbers.capacities[i] = plant.nodes[i].capacity;
  for (const PlantDescription::Resistance& resistance : plant.resistances) {
    if (!resistance.to) {
      numbers.toAmbient[resistance.from] += 1 / resistance.value;
      continue;
    }
    numbers.conductances[resistance.from * numbers.nodes + *resistance.to] += 1 / resistance.value;
    numbers.conductances[*resistance.to * numbers.nodes + resistance.from] += 1 / resistance.value;
  }
  return numbers;
}

} // namespace

ThermalModel::ThermalModel(const PlantDescription& plant, const std::vector<Quantity>& quantities) {
  // The order matters: outputs, starts and powers go by the states, of which the lagged ones are
  // some, and an effect is made of all of these.
  const Modes modes = modesOf(numbersOf(plant));
  const Index nodes = indexOf(plant.nodes.size());
  rates = Eigen::Map<const VectorXd>(modes.rates.data(), nodes);
  shapes = Eigen::Map<const Eigen::Matrix<double, Eigen::Dynamic, Eigen::Dynamic, Eigen::RowMajor>>(
      modes.shapes.data(), nodes, nodes);
  addLagged(plant);
  addOutputs(plant);
  addStarts(plant);
  addPowers(plant);
  columns = rows = ByRow::Zero(rates.size(), indexOf(quantities.size()));
  bySpeed = Eigen::RowVectorXd::Zero(columns.cols());
  gains = ByRow::Ones(columns.rows(), columns.cols());
  for (size_t i = 0; i < quantities.size(); ++i)
    addEffect(plant, quantities[i], indexOf(i));
}

// A lagged reading O follows its node T by O' = (T - O) / lag. With q z a mode's share of T, the
// part O - q z / (1 - rate lag) goes by itself.
void ThermalModel::addLagged(const PlantDescription& plant) {
  for (size_t i = 0; i < plant.probes.size(); ++i) {
    const PlantDescription::Probe& probe = plant.probes[i];
    if (probe.lag <= 0) continue;
    double rate = 1 / probe.lag;
    for (const double mode : rates)
      if (std::abs(mode - rate) < kResonance * rate) rate = mode * (1 + kResonance);
    const VectorXd shares =
        shapes.row(indexOf(probe.node)).transpose().array() / (1 - rates.array() / rate);
    lagged.push_back({i, rate, shares});
  }
  rates.conservativeResize(rates.size() + indexOf(lagged.size()));
  for (size_t i = 0; i < lagged.size(); ++i)
    rates[shapes.cols() + indexOf(i)] = lagged[i].rate;
}

// With what it makes of the states behind the modes.
VectorXd ThermalModel::whole(const VectorXd& modes) const {
  VectorXd all(rates.size());
  all.head(modes.size()) = modes;
  for (size_t i = 0; i < lagged.size(); ++i)
    all[modes.size() + indexOf(i)] = -lagged[i].shares.dot(modes);
  return all;
}

void ThermalModel::addOutputs(const PlantDescription& plant) {
  const Index probes = indexOf(plant.probes.size());
  const Index modes = shapes.cols();
  outputs = MatrixXd::Zero(rates.size(), probes + shapes.rows());
  offsets = VectorXd::Zero(outputs.cols());
  for (Index i = 0; i < probes; ++i) {
    const PlantDescription::Probe& probe = plant.probes[static_cast<size_t>(i)];
    outputs.col(i).head(modes) = shapes.row(indexOf(probe.node)).transpose();
    offsets[i] = probe.offset;
  }
  outputs.block(0, probes, modes, shapes.rows()) = shapes.transpose();
  for (size_t i = 0; i < lagged.size(); ++i) {
    const Index probe = indexOf(lagged[i].probe);
    outputs.col(probe).head(modes) = lagged[i].shares;
    outputs(modes + indexOf(i), probe) = 1;
  }
}

void ThermalModel::addStarts(const PlantDescription& plant) {
  const Index nodes = shapes.rows();
  starts = ByRow::Zero(rates.size(), rates.size());
  for (Index i = 0; i < nodes; ++i)
    starts.col(i) = whole(shapes.row(i).transpose() * plant.nodes[static_cast<size_t>(i)].capacity);
  for (Index i = nodes; i < rates.size(); ++i)
    starts(i, i) = 1;
  evenly = starts.rowwise().sum();
}

void ThermalModel::addPowers(const PlantDescription& plant) {
  powers = MatrixXd::Zero(rates.size(), indexOf(plant.sources.size()));
  for (size_t i = 0; i < plant.sources.size(); ++i)
    for (const auto& [node, share] : plant.sources[i].heats)
      powers.col(indexOf(i)) += share * whole(shapes.row(indexOf(node)).transpose());
}

void ThermalModel::addEffect(const PlantDescription& plant, const Quantity& quantity,
                             Index column) {
  using Kind = Quantity::Kind;
  const size_t index = quantity.index;
  const Index modes = shapes.cols();
  Effect effect{Role::kOffset, index};
  auto row = rows.col(column);
  switch (quantity.kind) {
  case Kind::kCapacity:
    // More of it slows whatever goes on at its node.
    // By its logarithm: at the node i, -C_i T_i' is as good as a power.
    effect.role = Role::kBySpeed;
    bySpeed[column] = 1;
    gains.col(column) = -rates;
    row.head(modes) = shapes.row(indexOf(index));
    columns.col(column) = -starts.col(indexOf(index));
    break;
  case Kind::kResistance: {
    const PlantDescription::Resistance& resistance = plant.resistances[index];
    // By its logarithm: of the heat (T_from - T_to) / R that goes through, so much goes less, as
    // if given to one end and taken from the other.
    VectorXd between = shapes.row(indexOf(resistance.from)).transpose();
    if (resistance.to) between -= shapes.row(indexOf(*resistance.to)).transpose();
    effect.role = Role::kByState;
    row.head(modes) = between;
    columns.col(column) = whole(between / resistance.value);
    break;
  }
  case Kind::kWatts:
  case Kind::kIdle:
    effect.role = quantity.kind == Kind::kWatts ? Role::kByPower : Role::kByIdle;
    columns.col(column) = powers.col(indexOf(index));
    break;
  case Kind::kLag: {
    const auto own = std::find_if(lagged.begin(), lagged.end(),
                                  [index](const Lagged& each) { return each.probe == index; });
    const Index state = modes + (own - lagged.begin());
    effect.role = Role::kByState;
    // -(T - O) / lag
    row = own->rate * outputs.col(indexOf(index));
    row.head(modes) -= own->rate * shapes.row(indexOf(plant.probes[index].node)).transpose();
    columns(state, column) = 1;
    break;
  }
  case Kind::kOffset:
    break;
  case Kind::kAmbient:
    effect.role = Role::kAmbient;
    break;
  }
  if (effect.role == Role::kOffset || effect.role == Role::kAmbient) still.push_back(column);
  effects.push_back(effect);
}

const ThermalModel::Step& ThermalModel::step(int64_t microseconds, bool sensitive) const {
  const auto known = steps.find(microseconds);
  if (known != steps.end() && (!sensitive || known->second.pairs.size() > 0)) return known->second;
  // Recordings are mostly regular: a few lengths of steps come again and again. Clocks that move
  // make new ones, without end.
  if (steps.size() > kStepsKept) steps.clear();
  const double seconds = static_cast<double>(microseconds) / 1e6;
  const Index count = rates.size();
  Step made;
  made.decay = (-rates.array() * seconds).exp();
  made.driven.resize(count);
  for (Index i = 0; i < count; ++i)
    made.driven[i] = seconds * expDifference({0, -rates[i] * seconds});
  if (sensitive) {
    made.pairs.resize(count, count);
    made.drivenPairs.resize(count, count);
    for (Index i = 0; i < count; ++i) {
      for (Index j = 0; j <= i; ++j) {
        const double a = -rates[i] * seconds;
        const double b = -rates[j] * seconds;
        made.pairs(i, j) = made.pairs(j, i) = seconds * expDifference({a, b});
        made.drivenPairs(i, j) = made.drivenPairs(j, i) =
            seconds * seconds * expDifference({0, a, b});
      }
    }
  }
  return steps[microseconds] = std::move(made);
}
