#include "margin/Evolution.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <numeric>

#include <Eigen/Eigenvalues>

namespace {

using Eigen::Index;
using Eigen::VectorXd;

// A generation this much better than all before it is.
constexpr double kBetter = 1e-4;
// Points that differ by less are the same.
constexpr double kAlike = 2e-3;
constexpr size_t kPatience = 10; // generations, and as many more for each dimension of one point
constexpr double kThinnest = 1e-10;

} // namespace

Evolution::Evolution(const Point& start, double step)
    : count(4 + static_cast<size_t>(3 * std::log(static_cast<double>(start.size())))),
      dimensions(static_cast<Index>(start.size())), centre(VectorXd::Zero(dimensions)),
      deviation(step), pathOfStep(VectorXd::Zero(dimensions)),
      pathOfMean(VectorXd::Zero(dimensions)),
      covariance(Eigen::MatrixXd::Identity(dimensions, dimensions)), axes(covariance),
      lengths(VectorXd::Ones(dimensions)), least(std::numeric_limits<double>::infinity()) {
  std::copy(start.begin(), start.end(), centre.data());
  const double half = static_cast<double>(count + 1) / 2;
  for (size_t i = 0; i < count / 2; ++i)
    weights.push_back(std::log(half) - std::log(static_cast<double>(i + 1)));
  const double sum = std::accumulate(weights.begin(), weights.end(), 0.0);
  double squares = 0;
  for (double& weight : weights) {
    weight /= sum;
    squares += weight * weight;
  }
  effective = 1 / squares;
}

std::vector<Evolution::Point> Evolution::ask(const std::vector<double>& standard) const {
  std::vector<Point> points;
  for (size_t i = 0; i < count; ++i) {
    const Eigen::Map<const VectorXd> own(standard.data() + static_cast<Index>(i) * dimensions,
                                         dimensions);
    const VectorXd point = centre + deviation * (axes * lengths.cwiseProduct(own));
    points.emplace_back(point.data(), point.data() + dimensions);
    for (double& coordinate : points.back())
      coordinate = std::clamp(coordinate, 0.0, 1.0);
  }
  return points;
}

VectorXd Evolution::stepTo(const Point& point) const {
  const auto size = static_cast<double>(dimensions);
  const VectorXd step = (Eigen::Map<const VectorXd>(point.data(), dimensions) - centre) / deviation;
  const double length = (axes.transpose() * step).cwiseQuotient(lengths).norm();
  const double likely = std::sqrt(size) + 2 * size / (size + 2);
  return step * std::min(1.0, likely / std::max(length, kThinnest));
}

void Evolution::tell(const std::vector<Point>& points, const std::vector<double>& values) {
  std::vector<size_t> order(points.size());
  std::iota(order.begin(), order.end(), size_t{0});
  std::stable_sort(order.begin(), order.end(),
                   [&](size_t a, size_t b) { return values[a] < values[b]; });
  sinceBetter = values[order.front()] < least - kBetter ? 0 : sinceBetter + 1;
  least = std::min(least, values[order.front()]);
  std::vector<VectorXd> best;
  VectorXd mean = VectorXd::Zero(dimensions);
  for (size_t i = 0; i < weights.size(); ++i) {
    best.push_back(stepTo(points[order[i]]));
    mean += weights[i] * best.back();
  }
  ++generations;
  adapt(mean, best);
  decompose();
}

void Evolution::adapt(const VectorXd& mean, const std::vector<VectorXd>& best) {
  const auto size = static_cast<double>(dimensions);
  const double ofStep = (effective + 2) / (size + effective + 5);
  const double ofMean = (4 + effective / size) / (size + 4 + 2 * effective / size);
  const double ofOne = 2 / ((size + 1.3) * (size + 1.3) + effective);
  const double ofAll = std::min(1 - ofOne, 2 * (effective - 2 + 1 / effective) /
                                               ((size + 2) * (size + 2) + effective));
  const double damping =
      1 + 2 * std::max(0.0, std::sqrt((effective - 1) / (size + 1)) - 1) + ofStep;
  const double usual = std::sqrt(size) * (1 - 1 / (4 * size) + 1 / (21 * size * size));

  centre += deviation * mean;
  const VectorXd white = axes * (axes.transpose() * mean).cwiseQuotient(lengths);
  pathOfStep = (1 - ofStep) * pathOfStep + std::sqrt(ofStep * (2 - ofStep) * effective) * white;
  const double begun = std::sqrt(1 - std::pow(1 - ofStep, 2 * static_cast<double>(generations)));
  const bool goesOn = pathOfStep.norm() / begun / usual < 1.4 + 2 / (size + 1);
  pathOfMean = (1 - ofMean) * pathOfMean;
  if (goesOn) pathOfMean += std::sqrt(ofMean * (2 - ofMean) * effective) * mean;
  const double lost = goesOn ? 0 : ofMean * (2 - ofMean);
  covariance *= 1 - ofOne - ofAll + ofOne * lost;
  covariance += ofOne * pathOfMean * pathOfMean.transpose();
  for (size_t i = 0; i < best.size(); ++i)
    covariance += ofAll * weights[i] * best[i] * best[i].transpose();
  deviation *= std::exp(std::min(1.0, ofStep / damping * (pathOfStep.norm() / usual - 1)));
}

void Evolution::decompose() {
  const Eigen::SelfAdjointEigenSolver<Eigen::MatrixXd> solver(covariance);
  axes = solver.eigenvectors();
  lengths = solver.eigenvalues().cwiseMax(kThinnest).cwiseSqrt();
}

bool Evolution::isStalled() const {
  return deviation * lengths.maxCoeff() < kAlike ||
         sinceBetter > kPatience + kPatience * static_cast<size_t>(dimensions) / count;
}
