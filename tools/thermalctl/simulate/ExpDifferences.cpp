#include "simulate/ExpDifferences.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <functional>

namespace {

constexpr size_t kMostPoints = 4;
// Of the series: 1/22! is below the last digit.
constexpr size_t kTerms = 20;

// Around the first of the points, all of which lie within 1 of it: the sum over k of
// h_k / (k + count - 1)!, where h_k is the sum of all products of k of the distances.
double series(const double* points, size_t count) {
  std::array<double, kMostPoints> products{}; // by the last distance that a product may have
  products.fill(1);
  double factorial = 1;
  for (size_t i = 2; i < count; ++i)
    factorial *= static_cast<double>(i);
  double sum = 1 / factorial;
  for (size_t k = 1; k <= kTerms; ++k) {
    factorial *= static_cast<double>(k + count - 1);
    double shorter = 0;
    for (size_t i = 1; i < count; ++i) {
      products[i] = shorter + (points[i] - points[0]) * products[i];
      shorter = products[i];
    }
    const double before = sum;
    sum += products[count - 1] / factorial;
    // What follows is smaller still.
    if (sum == before) break;
  }
  return std::exp(points[0]) * sum;
}

// Of points that fall. Far apart, the two differences that are subtracted are of different size.
double difference(const double* points, size_t count) {
  if (count == 1) return std::exp(points[0]);
  const double spread = points[0] - points[count - 1];
  if (spread < 1) return series(points, count);
  return (difference(points, count - 1) - difference(points + 1, count - 1)) / spread;
}

} // namespace

double expDifference(std::initializer_list<double> points) {
  std::array<double, kMostPoints> falling{};
  std::copy(points.begin(), points.end(), falling.begin());
  const auto end = falling.begin() + points.size();
  std::partial_sort(falling.begin(), end, end, std::greater<>());
  return difference(falling.data(), points.size());
}
