#include "simulate/Network.h"

#include <unsupported/Eigen/MatrixFunctions>

namespace {

// More than any run needs; a workload of odd times only costs the making of its solutions anew.
constexpr size_t kSolutionsKept = 1024;

using Matrix = Eigen::Matrix<double, Eigen::Dynamic, Eigen::Dynamic, Eigen::RowMajor>;

} // namespace

Network::Network(size_t nodeCount_)
    : nodeCount(nodeCount_), capacities(nodeCount, 1.0), conductances(nodeCount * nodeCount, 0.0),
      toAmbient(nodeCount, 0.0), inputs(nodeCount + 1, 0.0) {}

void Network::setCapacity(size_t node, double joulesPerKelvin) {
  capacities[node] = joulesPerKelvin;
}

void Network::connect(size_t a, size_t b, double kelvinPerWatt) {
  // Resistances between the same two ends stand side by side, and their conductances add up.
  conductances[a * nodeCount + b] += 1 / kelvinPerWatt;
  conductances[b * nodeCount + a] += 1 / kelvinPerWatt;
}

void Network::connectToAmbient(size_t node, double kelvinPerWatt) {
  toAmbient[node] += 1 / kelvinPerWatt;
}

size_t Network::addObserver(size_t node, double lagSeconds) {
  observers.push_back({node, lagSeconds});
  return nodeCount + observers.size() - 1;
}

std::vector<size_t> Network::nodesThatCannotCool() const {
  std::vector<bool> cools(nodeCount);
  std::vector<size_t> reached;
  for (size_t node = 0; node < nodeCount; ++node) {
    cools[node] = toAmbient[node] > 0;
    if (cools[node]) reached.push_back(node);
  }
  // From the nodes next to the ambient on, along the resistances: whoever is not reached keeps its
  // heat.
  while (!reached.empty()) {
    const size_t from = reached.back();
    reached.pop_back();
    for (size_t node = 0; node < nodeCount; ++node) {
      if (cools[node] || conductances[from * nodeCount + node] == 0) continue;
      cools[node] = true;
      reached.push_back(node);
    }
  }
  std::vector<size_t> stuck;
  for (size_t node = 0; node < nodeCount; ++node) {
    if (!cools[node]) stuck.push_back(node);
  }
  return stuck;
}

void Network::start(const std::vector<double>& nodeTemperatures, double ambient) {
  state = nodeTemperatures;
  for (const Observer& observer : observers)
    state.push_back(state[observer.node]);
  next.resize(state.size());
  setAmbient(ambient);
}

void Network::advance(int64_t milliseconds) {
  if (milliseconds <= 0) return;
  const double* factor = solutionFor(milliseconds).data();
  for (double& value : next) {
    value = 0;
    for (const double old : state)
      value += *factor++ * old;
    for (const double input : inputs)
      value += *factor++ * input;
  }
  state.swap(next);
}

// The rates of change, in kelvin a second, as factors of the states and inputs:
//
//   C dT/dt = sum over its neighbours of (T_other - T) / R  +  (T_ambient - T) / R_ambient  +  P
//   dO/dt   = (T_node - O) / lag, for an observer
//
// Nothing of an observer stands in a node's row: it does not load what it follows.
Network::Rows Network::equations() const {
  Rows rows(state.size() * width(), 0.0);
  const auto at = [&](size_t row, size_t column) -> double& {
    return rows[row * width() + column];
  };
  for (size_t node = 0; node < nodeCount; ++node) {
    const double share = 1 / capacities[node];
    for (size_t other = 0; other < nodeCount; ++other) {
      const double flow = share * conductances[node * nodeCount + other];
      at(node, other) += flow;
      at(node, node) -= flow;
    }
    at(node, node) -= share * toAmbient[node];
    at(node, state.size() + node) = share;
    at(node, state.size() + nodeCount) = share * toAmbient[node];
  }
  for (size_t i = 0; i < observers.size(); ++i) {
    at(nodeCount + i, nodeCount + i) = -1 / observers[i].lag;
    at(nodeCount + i, observers[i].node) = 1 / observers[i].lag;
  }
  return rows;
}

const Network::Rows& Network::solutionFor(int64_t milliseconds) {
  const auto known = solutions.find(milliseconds);
  if (known != solutions.end()) return known->second;
  if (solutions.size() >= kSolutionsKept) solutions.clear();

  // The inputs join the states as ones that never change, with rows of zeros: so one exponential
  // gives both what becomes of the states and what the inputs add meanwhile, and no inverse is
  // needed.
  Rows rows = equations();
  Eigen::Map<Matrix> states(rows.data(), static_cast<Eigen::Index>(state.size()),
                            static_cast<Eigen::Index>(width()));
  Matrix matrix = Matrix::Zero(states.cols(), states.cols());
  matrix.topRows(states.rows()) = states * (static_cast<double>(milliseconds) / 1000);
  states = Matrix(matrix.exp()).topRows(states.rows());
  return solutions.emplace(milliseconds, std::move(rows)).first->second;
}
