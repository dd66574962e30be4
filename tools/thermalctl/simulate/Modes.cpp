#include "simulate/Modes.h"

#include <algorithm>
#include <cmath>
#include <limits>

#include <Eigen/Core>
#include <Eigen/Jacobi>

namespace {

using Matrix = Eigen::MatrixXd;
using Index = Eigen::Index;

// More than any matrix has been seen to need, which is about ten.
constexpr int kSweeps = 60;

// Takes the nodes out of the network one after the other. What leads through the one that goes
// becomes conductances between those that stay: sums of positive numbers, so that nothing is
// cancelled.
class Elimination {
public:
  explicit Elimination(const NetworkNumbers& network)
      : between(Eigen::Map<const Matrix>(network.conductances.data(), indexOf(network.nodes),
                                         indexOf(network.nodes))),
        toAmbient(
            Eigen::Map<const Eigen::VectorXd>(network.toAmbient.data(), indexOf(network.nodes))),
        capacities(
            Eigen::Map<const Eigen::VectorXd>(network.capacities.data(), indexOf(network.nodes))) {
    between.diagonal().setZero();
  }

  // B, where B B^T is the matrix of the rates in coordinates that make it symmetric. The fastest
  // node goes first, which leaves B well scaled.
  Matrix factor() {
    const Index nodes = capacities.size();
    Matrix columns = Matrix::Zero(nodes, nodes);
    std::vector<Index> left(static_cast<size_t>(nodes));
    for (size_t i = 0; i < left.size(); ++i)
      left[i] = indexOf(i);
    for (Index column = 0; column < nodes; ++column) {
      const auto rate = [this](Index node) { return total(node) / capacities[node]; };
      const auto fastest = std::max_element(
          left.begin(), left.end(), [&rate](Index a, Index b) { return rate(a) < rate(b); });
      const Index node = *fastest;
      left.erase(fastest);
      takeOut(node, columns.col(column), left);
    }
    return columns;
  }

private:
  static Index indexOf(size_t i) { return static_cast<Index>(i); }

  double total(Index node) const { return toAmbient[node] + between.col(node).sum(); }

  void takeOut(Index node, Eigen::Ref<Eigen::VectorXd> column, const std::vector<Index>& left) {
    const double sum = total(node);
    column[node] = std::sqrt(sum / capacities[node]);
    for (const Index i : left)
      column[i] = -between(i, node) / std::sqrt(sum * capacities[i]);
    for (const Index i : left) {
      const double share = between(i, node) / sum;
      toAmbient[i] += share * toAmbient[node];
      for (const Index j : left)
        if (i != j) between(i, j) += share * between(node, j);
    }
    between.row(node).setZero();
    between.col(node).setZero();
  }

  Matrix between;
  Eigen::VectorXd toAmbient;
  Eigen::VectorXd capacities;
};

// Turns two columns until they are at right angles. False if they were.
bool turn(Matrix& columns, Index p, Index q) {
  const double along = columns.col(p).squaredNorm();
  const double across = columns.col(q).squaredNorm();
  const double both = columns.col(p).dot(columns.col(q));
  if (std::abs(both) <= std::numeric_limits<double>::epsilon() * std::sqrt(along * across))
    return false;
  Eigen::JacobiRotation<double> rotation;
  rotation.makeJacobi(along, both, across);
  columns.applyOnTheRight(p, q, rotation);
  return true;
}

// One-sided Jacobi: the columns become the singular vectors times the singular values.
void makeOrthogonal(Matrix& columns) {
  for (int sweep = 0; sweep < kSweeps; ++sweep) {
    bool turned = false;
    for (Index p = 0; p < columns.cols(); ++p) {
      for (Index q = p + 1; q < columns.cols(); ++q)
        turned |= turn(columns, p, q);
    }
    if (!turned) return;
  }
}

} // namespace

Modes modesOf(const NetworkNumbers& network) {
  Matrix columns = Elimination(network).factor();
  makeOrthogonal(columns);
  const auto nodes = static_cast<Index>(network.nodes);
  Modes modes;
  modes.shapes.resize(network.nodes * network.nodes);
  for (Index mode = 0; mode < nodes; ++mode) {
    const double length = columns.col(mode).norm();
    modes.rates.push_back(length * length);
    for (Index node = 0; node < nodes; ++node)
      modes.shapes[static_cast<size_t>(node * nodes + mode)] =
          columns(node, mode) / (length * std::sqrt(network.capacities[static_cast<size_t>(node)]));
  }
  return modes;
}
