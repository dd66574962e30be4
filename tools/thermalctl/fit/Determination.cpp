#include "fit/Determination.h"

#include <cmath>

#include <Eigen/Cholesky>
#include <Eigen/SVD>

#include "fit/Indices.h"

namespace {

using Eigen::Index;
using Eigen::MatrixXd;
using Eigen::VectorXd;

// The standard deviation of a logarithm from which on the guess is as good as the readings.
constexpr double kUnknown = 0.35;
// The same, of an offset or an ambient.
constexpr double kUnknownDegrees = 1.0;
// Of the largest share in a direction, from which on a quantity belongs to it.
constexpr double kBelongs = 0.25;

std::vector<Index> freeOf(const std::vector<bool>& frozen) {
  std::vector<Index> free;
  for (size_t i = 0; i < frozen.size(); ++i)
    if (!frozen[i]) free.push_back(indexOf(i));
  return free;
}

MatrixXd part(const MatrixXd& matrix, const std::vector<Index>& places) {
  const Index count = indexOf(places.size());
  MatrixXd some(count, count);
  for (Index i = 0; i < count; ++i)
    for (Index j = 0; j < count; ++j)
      some(i, j) = matrix(places[static_cast<size_t>(i)], places[static_cast<size_t>(j)]);
  return some;
}

} // namespace

// With A of the quantities, D of clocks and starts, and B across, A - B^T D^-1 B is what is left
// for the quantities once the others have gone where they fit best (the complement of Schur).
MatrixXd informationOfQuantities(const Misfit& misfit, const MatrixXd& information,
                                 const std::vector<bool>& frozen) {
  const Index own = indexOf(misfit.unknowns.quantities);
  const Index others = information.rows() - own;
  MatrixXd rest = information.bottomRightCorner(others, others);
  // Of a clock that nothing moves, or a node that nothing shows, nothing is known.
  rest.diagonal().array() += 1e-6;
  const MatrixXd across = information.bottomLeftCorner(others, own);
  MatrixXd result =
      information.topLeftCorner(own, own) - across.transpose() * rest.ldlt().solve(across);
  for (size_t i = 0; i < frozen.size(); ++i) {
    if (!frozen[i]) continue;
    result.row(indexOf(i)).setZero();
    result.col(indexOf(i)).setZero();
  }
  return result;
}

// In units of what counts as unknown, an eigenvalue is the inverse of the variance along its
// direction: below 1 the readings know less of it than the guess does. The quantity with the
// largest share in it is kept, and those left are asked again, until nothing is below 1.
std::vector<Undetermined> undeterminedOf(const Misfit& misfit, const MatrixXd& information,
                                         const VectorXd& values, const std::vector<bool>& frozen) {
  std::vector<Undetermined> all;
  const std::vector<double> natural = misfit.naturalOf(values);
  std::vector<Index> free = freeOf(frozen);
  VectorXd units(information.rows());
  for (size_t i = 0; i < misfit.quantities.size(); ++i)
    units[indexOf(i)] = misfit.quantities[i].byLogarithm() ? kUnknown : kUnknownDegrees;
  const MatrixXd scaled = units.asDiagonal() * information * units.asDiagonal();
  while (!free.empty()) {
    // Of such a matrix the singular values are the eigenvalues, the least of them last; Eigen's
    // solver for these takes many seconds to compile.
    const Eigen::JacobiSVD<MatrixXd, Eigen::NoQRPreconditioner> solver(part(scaled, free),
                                                                       Eigen::ComputeFullV);
    if (solver.singularValues().tail<1>()[0] >= 1) return all;
    const VectorXd direction = solver.matrixV().rightCols<1>();
    Index largest = 0;
    direction.cwiseAbs().maxCoeff(&largest);
    Undetermined found;
    found.frozen = static_cast<size_t>(free[static_cast<size_t>(largest)]);
    for (Index i = 0; i < direction.size(); ++i) {
      if (std::abs(direction[i]) < kBelongs * std::abs(direction[largest])) continue;
      const Index place = free[static_cast<size_t>(i)];
      found.members.push_back(static_cast<size_t>(place));
      found.shares.push_back(direction[i] * units[place]);
      const auto member = static_cast<size_t>(place);
      const bool log = misfit.quantities[member].byLogarithm();
      found.changes.push_back(found.shares.back() * (log ? natural[member] : 1));
    }
    all.push_back(std::move(found));
    free.erase(free.begin() + largest);
  }
  return all;
}

MatrixXd covarianceOf(const MatrixXd& information, const std::vector<bool>& frozen) {
  const std::vector<Index> free = freeOf(frozen);
  MatrixXd covariance = MatrixXd::Zero(information.rows(), information.cols());
  if (free.empty()) return covariance;
  const Index count = indexOf(free.size());
  const MatrixXd inverse = part(information, free).ldlt().solve(MatrixXd::Identity(count, count));
  for (Index i = 0; i < count; ++i)
    for (Index j = 0; j < count; ++j)
      covariance(free[static_cast<size_t>(i)], free[static_cast<size_t>(j)]) = inverse(i, j);
  return covariance;
}
