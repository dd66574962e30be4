#pragma once

#include <cstddef>
#include <cstdint>
#include <unordered_map>
#include <vector>

// A thermal network: nodes that store heat, resistances between them and to the ambient, and lagged
// observers that follow a node without loading it.
//
// Shape:  first it is built, then started, then it runs: what is set before `start` must not change
//         behind it, because the solutions kept are those of one network.
// Units:  J/K, K/W, W, degrees Celsius; milliseconds for time.
// Exact:  while powers and ambient are constant the network is linear, and `advance` applies the
//         solution of its equations, the matrix exponential. The length of a step adds no error but
//         that of the arithmetic.
// Errors: nothing is checked. Capacities and resistances must be above 0 and indices inside, as
//         `readPlant` sees to.
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

  void setAmbient(double celsius) { inputs[nodeCount] = celsius; }
  void setPower(size_t node, double watts) { inputs[node] = watts; }

  void addPower(size_t node, double watts) { inputs[node] += watts; }

  // Powers and ambient hold through the whole step. The first step of a length costs as many matrix
  // products as its solution takes, each further one a single product with a vector.
  void advance(int64_t milliseconds);

  double temperature(size_t node) const { return state[node]; }

private:
  struct Observer {
    size_t node;
    double lag;
  };
  // Row by row, one row per state: the factors of the states, then those of the inputs.
  using Rows = std::vector<double>;

  size_t width() const { return state.size() + inputs.size(); }
  Rows equations() const;
  const Rows& solutionFor(int64_t milliseconds);

  size_t nodeCount;
  std::vector<double> capacities;
  std::vector<double> conductances; // between nodes, a square matrix
  std::vector<double> toAmbient;
  std::vector<Observer> observers;
  std::vector<double> state;  // of the nodes, then of the observers
  std::vector<double> inputs; // the nodes' powers, then the ambient
  std::vector<double> next;
  // Of every length of step so far; a run has few.
  std::unordered_map<int64_t, Rows> solutions;
};
