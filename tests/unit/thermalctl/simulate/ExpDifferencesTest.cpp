#include "simulate/ExpDifferences.h"

#include <cmath>
#include <vector>

#include <gtest/gtest.h>

namespace {

using Real = long double;

// As it is defined, which loses digits where points are near one another: good for points that are
// not.
Real asDefined(const std::vector<Real>& points) {
  if (points.size() == 1) return std::exp(points[0]);
  const std::vector<Real> withoutLast(points.begin(), points.end() - 1);
  const std::vector<Real> withoutFirst(points.begin() + 1, points.end());
  return (asDefined(withoutFirst) - asDefined(withoutLast)) / (points.back() - points.front());
}

void expectNear(double found, Real wanted) {
  EXPECT_NEAR(found, static_cast<double>(wanted), 1e-13 * static_cast<double>(std::abs(wanted)));
}

TEST(ExpDifferencesTest, ArePlainQuotientsForPointsFarApart) {
  expectNear(expDifference({-2.5}), std::exp(Real(-2.5)));
  for (const Real x : {-0.4L, -0.9L, -3.0L, -50.0L}) {
    for (const Real y : {-1.6L, -7.0L, -300.0L}) {
      const auto a = static_cast<double>(x);
      const auto b = static_cast<double>(y);
      const std::vector<Real> points = {0, a, b, -0.25L};
      expectNear(expDifference({0, a}), asDefined({0, a}));
      expectNear(expDifference({0, a, b}), asDefined({0, a, b}));
      expectNear(expDifference({0, a, b, -0.25}), asDefined(points));
    }
  }
}

TEST(ExpDifferencesTest, AreDerivativesWherePointsCoincide) {
  for (const double x : {0.0, -0.3, -20.0}) {
    expectNear(expDifference({x, x}), std::exp(Real(x)));
    expectNear(expDifference({x, x, x}), std::exp(Real(x)) / 2);
    expectNear(expDifference({x, x, x, x}), std::exp(Real(x)) / 6);
  }
}

TEST(ExpDifferencesTest, AreExactForPointsThatNearlyCoincide) {
  for (const double x : {-1e-3, -1e-7, -1e-12, -1e-300}) {
    expectNear(expDifference({0, x}), std::expm1(Real(x)) / Real(x));
    // 1/2 + x/6 + x^2/24, and what is left is below the last digit for the smaller ones.
    const Real y = x;
    expectNear(expDifference({0, 0, x}),
               Real(0.5) + y / 6 + y * y / 24 + y * y * y / 120 + y * y * y * y / 720);
  }
}

TEST(ExpDifferencesTest, DoNotDependOnTheOrder) {
  EXPECT_EQ(expDifference({-3, 0, -0.5, -3.2}), expDifference({0, -0.5, -3.2, -3}));
}

TEST(ExpDifferencesTest, HoldFarOut) {
  EXPECT_EQ(expDifference({-1e12}), 0);
  expectNear(expDifference({0, -1e12}), 1e-12L);
  expectNear(expDifference({0, 0, -1e12}), (1 - 1e-12L) * 1e-12L);
  expectNear(expDifference({0, -1e6, -1e12}), (1e-6L - 0) / 1e12L);
}

} // namespace
