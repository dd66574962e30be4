#include "simulate/Network.h"

#include <algorithm>
#include <cmath>

namespace {

// More than any run needs; a workload of odd times only costs the making of its solutions anew.
constexpr size_t kSolutionsKept = 1024;

class Square {
public:
  explicit Square(size_t size_) : size(size_), values(size_ * size_, 0.0) {}

  static Square identity(size_t size) {
    Square result(size);
    for (size_t i = 0; i < size; ++i)
      result.at(i, i) = 1;
    return result;
  }

  double& at(size_t row, size_t column) { return values[row * size + column]; }
  double at(size_t row, size_t column) const { return values[row * size + column]; }

  Square times(const Square& other) const {
    Square result(size);
    for (size_t row = 0; row < size; ++row) {
      for (size_t inner = 0; inner < size; ++inner) {
        const double factor = at(row, inner);
        // The rows of the inputs, about half of all, hold nothing but perhaps a 1 on the diagonal.
        if (factor == 0) continue;
        for (size_t column = 0; column < size; ++column)
          result.at(row, column) += factor * other.at(inner, column);
      }
    }
    return result;
  }

  void scale(double factor) {
    for (double& value : values)
      value *= factor;
  }

  void add(const Square& other) {
    for (size_t i = 0; i < values.size(); ++i)
      values[i] += other.values[i];
  }

  double largestRowSum() const {
    double largest = 0;
    for (size_t row = 0; row < size; ++row) {
      double sum = 0;
      for (size_t column = 0; column < size; ++column)
        sum += std::abs(at(row, column));
      largest = std::max(largest, sum);
    }
    return largest;
  }

  size_t size;

private:
  std::vector<double> values;
};

// By its Taylor series on a matrix scaled down to a norm below 1/2, where 20 terms leave less than
// the arithmetic rounds, and then by squaring.
Square exponential(Square matrix) {
  int squarings = 0;
  for (double norm = matrix.largestRowSum(); norm > 0.5; norm /= 2)
    ++squarings;
  matrix.scale(std::ldexp(1.0, -squarings));
  Square sum = Square::identity(matrix.size);
  Square term = sum;
  for (int order = 1; order <= 20; ++order) {
    term = term.times(matrix);
    term.scale(1.0 / order);
    sum.add(term);
  }
  for (int i = 0; i < squarings; ++i)
    sum = sum.times(sum);
  return sum;
}

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
  Square matrix(width());
  const Rows rates = equations();
  for (size_t row = 0; row < state.size(); ++row) {
    for (size_t column = 0; column < width(); ++column)
      matrix.at(row, column) = rates[row * width() + column];
  }
  matrix.scale(static_cast<double>(milliseconds) / 1000);
  const Square solution = exponential(std::move(matrix));
  Rows rows(rates.size());
  for (size_t row = 0; row < state.size(); ++row) {
    for (size_t column = 0; column < width(); ++column)
      rows[row * width() + column] = solution.at(row, column);
  }
  return solutions.emplace(milliseconds, std::move(rows)).first->second;
}
