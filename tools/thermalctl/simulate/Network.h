#pragma once

#include <cstddef>
#include <cstdint>
#include <numeric>
#include <vector>

#include "simulate/Modes.h"

// A thermal network: nodes that store heat, resistances between them and to the ambient, and lagged
// observers that follow a node without loading it.
//
// Shape:  first it is built, then started, then it runs: what is set before `start` must not change
//         behind it, because the modes are those of one network.
// Units:  J/K, K/W, W, degrees Celsius; milliseconds for time, seconds in slopes.
// Exact:  while powers and ambient are constant, or go along straight lines, `advance` applies the
//         solution of the network's equations. The length of a step adds no error but that of the
//         arithmetic, and neither do time constants that are far apart.
// Errors: nothing is checked. Capacities, resistances and lags must be above 0, indices inside, and
//         every node must be able to cool, as `readPlant` sees to.
class Network {
public:
  explicit Network(size_t nodeCount);

  void setCapacity(size_t node, double joulesPerKelvin);
  void connect(size_t a, size_t b, double kelvinPerWatt);
  void connectToAmbient(size_t node, double kelvinPerWatt);
  // Follows `node` with a first-order lag. Returns where `temperature` has it.
  size_t addObserver(size_t node, double lagSeconds);

  // Nodes from which no chain of resistances leads to the ambient: their heat would only grow.
  std::vector<size_t> nodesThatCannotCool() const;

  // To be called once all of the above is set; observers start at their node's temperature.
  void start(const std::vector<double>& nodeTemperatures, double ambient);

  // What holds from now on. A slope holds until it is set anew.
  void setAmbient(double celsius, double kelvinPerSecond = 0);
  void setPower(size_t node, double watts, double wattsPerSecond = 0);
  void addPower(size_t node, double watts, double wattsPerSecond = 0);

  // By so many milliseconds: in proportion to the number of nodes and observers for a length of
  // step that has come before; the first one of a length costs an exponential for each of them, and
  // the first one after new powers a product of a matrix with a vector.
  void advance(int64_t length);
  // To where a slope ends between two milliseconds; the length of such a step is not kept.
  void advanceBy(double seconds);

  // In proportion to the number of nodes, the first time after a step.
  double temperature(size_t node) const {
    Known& one = known[node];
    if (one.state != states) one = {states, calculated(node)};
    return one.celsius;
  }

private:
  // What follows a node, as the part of it that no mode holds: it goes by itself, but for the modes
  // that are nearly as slow as the lag. Of those it takes its share step by step.
  //
  // Units: the part in K; `drive` in K/s, its slope in K/s^2.
  struct Observer {
    size_t node;
    double lag;
    std::vector<size_t> resonant; // modes
    double part = 0;
    double drive = 0;
    double driveSlope = 0;
  };
  // What a step of one length makes of a state, of a constant input and of one that grows.
  struct Factors {
    double state, constant, slope;
  };
  struct Step {
    int64_t length = 0; // milliseconds
    bool hasSlopes = false;
    std::vector<Factors> modes;
    std::vector<Factors> observers;
    std::vector<Factors> resonances; // by observer and its resonant modes
  };

  // A temperature and in which state it was calculated.
  struct Known {
    uint64_t state = 0;
    double celsius = 0;
  };

  double calculated(size_t node) const {
    const double own = node < numbers.nodes ? 0 : observers[node - numbers.nodes].part;
    return presentAmbient() + own + aboveAmbient(node);
  }
  const double* row(size_t node) const { return rows.data() + node * numbers.nodes; }
  // But for the part of an observer that is its own.
  double aboveAmbient(size_t node) const {
    return std::inner_product(state.begin(), state.end(), row(node), 0.0);
  }
  void addObserverRow(Observer& observer);
  double sinceSet() const { return static_cast<double>(milliseconds) / 1000 + beyond; }
  double presentAmbient() const {
    return ambientSlope == 0 ? ambient : ambient + ambientSlope * sinceSet();
  }
  void setFromNowOn();
  void updateDrives();
  void apply(const Step& step);
  // What a slope makes of a step is left out where there is none.
  Step stepOf(double seconds) const;
  const Step& keptStep(int64_t length);
  size_t placeOf(int64_t length);
  size_t mostSteps() const;

  NetworkNumbers numbers;
  std::vector<Observer> observers;
  std::vector<double> rates; // of the modes
  // Of the nodes and then of the observers, by mode: what leads from the modes to kelvin.
  std::vector<double> rows;
  std::vector<double> evenly; // the modes at one kelvin above the ambient everywhere

  // What was set last, and for how long it has gone along its slopes: nothing is added up on the
  // way.
  double ambient = 0;
  double ambientSlope = 0;
  std::vector<double> powers, powerSlopes; // by node
  std::vector<double> drives, driveSlopes; // by mode
  int64_t milliseconds = 0;
  double beyond = 0; // of these, in seconds
  bool drivesAreOld = true;
  bool sloped = false;

  std::vector<double> state; // of the modes
  uint64_t states = 1;       // that there have been
  mutable std::vector<Known> known;
  std::vector<Step> steps;
  size_t lastStep = 0;
};
