#include "margin/Special.h"

#include <cmath>

#include <Eigen/Cholesky>
#include <Eigen/Core>
#include <unsupported/Eigen/SpecialFunctions>

double normalProbability(double standard) {
  return 0.5 * std::erfc(-standard / std::sqrt(2.0));
}

double normalQuantile(double probability) {
  return Eigen::numext::ndtri(probability);
}

double betaQuantile(double a, double b, double probability) {
  // By halves: the function rises, and each step gives a bit of the result.
  double low = 0;
  double high = 1;
  // Until the two are neighbours: near 0 they come closer for long.
  for (double middle = 0.5; middle > low && middle < high; middle = low + (high - low) / 2)
    (Eigen::numext::betainc(a, b, middle) < probability ? low : high) = middle;
  return high;
}

std::optional<SquareMatrix> choleskyOf(const SquareMatrix& matrix, size_t size) {
  using Rows = Eigen::Matrix<double, Eigen::Dynamic, Eigen::Dynamic, Eigen::RowMajor>;
  const auto n = static_cast<Eigen::Index>(size);
  const Eigen::LLT<Rows> factored(Eigen::Map<const Rows>(matrix.data(), n, n));
  // What is 0 but for rounding leaves nothing to draw.
  constexpr double kSmallest = 1e-6;
  const Rows lower = factored.matrixL();
  if (factored.info() != Eigen::Success || (n > 0 && lower.diagonal().minCoeff() < kSmallest))
    return std::nullopt;
  return SquareMatrix(lower.data(), lower.data() + lower.size());
}
