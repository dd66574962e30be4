#include "simulate/Network.h"

#include <algorithm>
#include <cmath>
#include <numeric>

#include "simulate/ExpDifferences.h"

namespace {

// Of factors in all steps that are kept, half a megabyte: a step takes the place of one that shares
// its remainder. A workload of odd times only costs the making of them anew.
constexpr size_t kFactorsKept = 20'000;
// Mostly a few lengths are all that ever come, and room for the others costs more than the steps.
constexpr size_t kStepsAtFirst = 61;

// How near a lag's rate may be to that of a mode, as a share of it, before their quotient cancels.
constexpr double kResonance = 0.01;

} // namespace

Network::Network(size_t nodeCount)
    : numbers(nodeCount), powers(nodeCount, 0.0), powerSlopes(nodeCount, 0.0) {}

void Network::setCapacity(size_t node, double joulesPerKelvin) {
  numbers.capacities[node] = joulesPerKelvin;
}

void Network::connect(size_t a, size_t b, double kelvinPerWatt) {
  // Resistances between the same two ends stand side by side, and their conductances add up.
  numbers.conductances[a * numbers.nodes + b] += 1 / kelvinPerWatt;
  numbers.conductances[b * numbers.nodes + a] += 1 / kelvinPerWatt;
}

void Network::connectToAmbient(size_t node, double kelvinPerWatt) {
  numbers.toAmbient[node] += 1 / kelvinPerWatt;
}

size_t Network::addObserver(size_t node, double lagSeconds) {
  observers.push_back({node, lagSeconds, {}});
  return numbers.nodes + observers.size() - 1;
}

std::vector<size_t> Network::nodesThatCannotCool() const {
  std::vector<bool> cools(numbers.nodes);
  std::vector<size_t> reached;
  for (size_t node = 0; node < numbers.nodes; ++node) {
    cools[node] = numbers.toAmbient[node] > 0;
    if (cools[node]) reached.push_back(node);
  }
  // From the nodes next to the ambient on, along the resistances: whoever is not reached keeps its
  // heat.
  while (!reached.empty()) {
    const size_t from = reached.back();
    reached.pop_back();
    for (size_t node = 0; node < numbers.nodes; ++node) {
      if (cools[node] || numbers.conductances[from * numbers.nodes + node] == 0) continue;
      cools[node] = true;
      reached.push_back(node);
    }
  }
  std::vector<size_t> stuck;
  for (size_t node = 0; node < numbers.nodes; ++node) {
    if (!cools[node]) stuck.push_back(node);
  }
  return stuck;
}

void Network::start(const std::vector<double>& nodeTemperatures, double ambient_) {
  ambient = ambient_;
  Modes modes = modesOf(numbers);
  rates = std::move(modes.rates);
  rows = std::move(modes.shapes);
  const size_t count = numbers.nodes;
  state.assign(count, 0);
  evenly.assign(count, 0);
  drives.assign(count, 0);
  driveSlopes.assign(count, 0);
  for (size_t node = 0; node < count; ++node) {
    for (size_t mode = 0; mode < count; ++mode) {
      const double weight = row(node)[mode] * numbers.capacities[node];
      evenly[mode] += weight;
      state[mode] += weight * (nodeTemperatures[node] - ambient);
    }
  }
  for (Observer& observer : observers)
    addObserverRow(observer);
  steps.resize(std::min(kStepsAtFirst, mostSteps()));
  known.resize(count + observers.size());
}

// With O the observer above the ambient, a mode z that decays with the rate r, and q z its share in
// the node's temperature, the part O - q z / (1 - r lag) no longer depends on z.
void Network::addObserverRow(Observer& observer) {
  const std::vector<double> node(row(observer.node), row(observer.node) + numbers.nodes);
  observer.part = aboveAmbient(observer.node);
  for (size_t mode = 0; mode < numbers.nodes; ++mode) {
    const double apart = 1 - rates[mode] * observer.lag;
    const bool resonant = std::abs(apart) < kResonance;
    if (resonant) observer.resonant.push_back(mode);
    rows.push_back(resonant ? 0 : node[mode] / apart);
    observer.part -= rows.back() * state[mode];
  }
}

// What is not set anew goes on from where its slope has led.
void Network::setFromNowOn() {
  drivesAreOld = true;
  const double seconds = sinceSet();
  if (seconds == 0) return;
  ambient += ambientSlope * seconds;
  for (size_t node = 0; node < numbers.nodes; ++node)
    powers[node] += powerSlopes[node] * seconds;
  milliseconds = 0;
  beyond = 0;
}

void Network::setAmbient(double celsius, double kelvinPerSecond) {
  setFromNowOn();
  ++states;
  // The temperatures stay, so that what they are above the ambient changes.
  const double change = celsius - ambient;
  for (size_t mode = 0; mode < state.size(); ++mode)
    state[mode] -= change * evenly[mode];
  for (size_t i = 0; i < observers.size(); ++i) {
    const double* shares = row(numbers.nodes + i);
    const double held = std::inner_product(evenly.begin(), evenly.end(), shares, 0.0);
    observers[i].part -= change * (1 - held);
  }
  ambient = celsius;
  ambientSlope = kelvinPerSecond;
}

void Network::setPower(size_t node, double watts, double wattsPerSecond) {
  setFromNowOn();
  powers[node] = watts;
  powerSlopes[node] = wattsPerSecond;
}

void Network::addPower(size_t node, double watts, double wattsPerSecond) {
  setFromNowOn();
  powers[node] += watts;
  powerSlopes[node] += wattsPerSecond;
}

// An ambient that rises takes from all that is above it.
void Network::updateDrives() {
  for (size_t mode = 0; mode < numbers.nodes; ++mode) {
    drives[mode] = -ambientSlope * evenly[mode];
    driveSlopes[mode] = 0;
  }
  for (size_t node = 0; node < numbers.nodes; ++node) {
    if (powers[node] == 0 && powerSlopes[node] == 0) continue;
    for (size_t mode = 0; mode < numbers.nodes; ++mode) {
      drives[mode] += row(node)[mode] * powers[node];
      driveSlopes[mode] += row(node)[mode] * powerSlopes[node];
    }
  }
  for (size_t i = 0; i < observers.size(); ++i) {
    const double* shares = row(numbers.nodes + i);
    observers[i].drive =
        -ambientSlope - std::inner_product(drives.begin(), drives.end(), shares, 0.0);
    observers[i].driveSlope =
        -std::inner_product(driveSlopes.begin(), driveSlopes.end(), shares, 0.0);
  }
  const auto isSlope = [](double slope) { return slope != 0; };
  sloped = ambientSlope != 0 || std::any_of(powerSlopes.begin(), powerSlopes.end(), isSlope);
  drivesAreOld = false;
}

void Network::advance(int64_t length) {
  if (length <= 0) return;
  if (drivesAreOld) updateDrives();
  apply(keptStep(length));
  milliseconds += length;
}

void Network::advanceBy(double seconds) {
  if (drivesAreOld) updateDrives();
  apply(stepOf(seconds));
  beyond += seconds;
}

void Network::apply(const Step& step) {
  ++states;
  const double passed = sinceSet();
  const auto after = [this, passed](const Factors& factors, double old, double drive,
                                    double slope) {
    const double held = factors.state * old + factors.constant * drive;
    if (!sloped) return held;
    return held + (factors.constant * passed + factors.slope) * slope;
  };
  const Factors* resonance = step.resonances.data();
  for (size_t i = 0; i < observers.size(); ++i) {
    Observer& observer = observers[i];
    observer.part = after(step.observers[i], observer.part, observer.drive, observer.driveSlope);
    for (const size_t mode : observer.resonant)
      observer.part += after(*resonance++, state[mode], drives[mode], driveSlopes[mode]);
  }
  for (size_t mode = 0; mode < numbers.nodes; ++mode)
    state[mode] = after(step.modes[mode], state[mode], drives[mode], driveSlopes[mode]);
}

// The solution of x' = -r x + drive + slope t, and for a mode of nearly an observer's rate that of
// the chain of both.
Network::Step Network::stepOf(double seconds) const {
  const auto alone = [this, seconds](double rate) -> Factors {
    const double decay = -rate * seconds;
    return {std::exp(decay), seconds * expDifference({0, decay}),
            sloped ? seconds * seconds * expDifference({0, 0, decay}) : 0};
  };
  Step step;
  step.hasSlopes = sloped;
  for (const double rate : rates)
    step.modes.push_back(alone(rate));
  for (size_t i = 0; i < observers.size(); ++i) {
    const Observer& observer = observers[i];
    step.observers.push_back(alone(1 / observer.lag));
    const double lagged = -seconds / observer.lag;
    for (const size_t mode : observer.resonant) {
      const double decay = -rates[mode] * seconds;
      const double share = row(observer.node)[mode] * seconds / observer.lag;
      step.resonances.push_back({share * expDifference({decay, lagged}),
                                 share * seconds * expDifference({0, decay, lagged}),
                                 share * seconds * seconds * expDifference({0, 0, decay, lagged})});
    }
  }
  return step;
}

const Network::Step& Network::keptStep(int64_t length) {
  // Mostly the one before was as long.
  if (steps[lastStep].length != length) lastStep = placeOf(length);
  Step& step = steps[lastStep];
  if (step.length == length && (step.hasSlopes || !sloped)) return step;
  step = stepOf(static_cast<double>(length) / 1000);
  step.length = length;
  return step;
}

size_t Network::placeOf(int64_t length) {
  const auto place = [&] { return static_cast<size_t>(length) % steps.size(); };
  const int64_t there = steps[place()].length;
  if (there != 0 && there != length && steps.size() < mostSteps()) {
    steps.clear();
    steps.resize(mostSteps());
  }
  return place();
}

size_t Network::mostSteps() const {
  return kFactorsKept / (rates.size() + observers.size()) + 1;
}
