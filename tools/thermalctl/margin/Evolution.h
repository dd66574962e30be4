#pragma once

#include <cstddef>
#include <vector>

#include <Eigen/Core>

// The evolution strategy with an adapted covariance matrix (CMA-ES, as in N. Hansen's tutorial), in
// the unit cube: it finds where a function is least that is known by its values alone.
//
// Shape:  a generation is asked for and told as a whole, so that whoever evaluates it may do so on
//         many threads. The same numbers give the same generations.
// Source: the constants are those of the tutorial's table 1. A point that was moved far off counts
//         as one on the edge of what was likely (Hansen, "Injecting external solutions").
class Evolution {
public:
  using Point = std::vector<double>;

  // In at least one dimension; `step` is the deviation at first.
  Evolution(const Point& start, double step);

  // How many there are in a generation.
  size_t size() const { return count; }
  // As many standard normal numbers as a generation has coordinates.
  std::vector<Point> ask(const std::vector<double>& standard) const;
  // Its points, which may have been moved within the cube, with their values.
  void tell(const std::vector<Point>& points, const std::vector<double>& values);
  // Whether more generations would hardly find anything better.
  bool isStalled() const;

private:
  Eigen::VectorXd stepTo(const Point& point) const;
  void adapt(const Eigen::VectorXd& mean, const std::vector<Eigen::VectorXd>& best);
  void decompose();

  const size_t count; // in a generation
  const Eigen::Index dimensions;
  std::vector<double> weights;
  double effective = 0; // of the weights, how many they are worth
  Eigen::VectorXd centre;
  double deviation;
  Eigen::VectorXd pathOfStep, pathOfMean;
  Eigen::MatrixXd covariance, axes;
  Eigen::VectorXd lengths; // of the axes
  size_t generations = 0;
  size_t sinceBetter = 0; // generations
  double least;
};
