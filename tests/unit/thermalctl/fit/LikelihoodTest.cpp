#include "fit/Likelihood.h"

#include <cmath>

#include <gtest/gtest.h>

namespace {

double slopeOf(const Likelihood& likelihood, double reading, double temperature) {
  constexpr double kStep = 1e-5;
  return (likelihood.of(reading, temperature + kStep).misfit -
          likelihood.of(reading, temperature - kStep).misfit) /
         (2 * kStep);
}

TEST(LikelihoodTest, SlopeIsThatOfTheMisfitWhateverTheRounding) {
  for (const double step : {0.0, 0.01, 0.1, 1.0, 5.0})
    for (const double apart : {-3.0, -0.7, -0.5, 0.0, 0.3, 0.51, 2.0}) {
      const Likelihood likelihood{0.4, step};
      EXPECT_NEAR(likelihood.of(40, 40 + apart).slope, slopeOf(likelihood, 40, 40 + apart), 1e-4)
          << step << " " << apart;
    }
}

TEST(LikelihoodTest, NothingGoesBetterThanTheReadingItself) {
  EXPECT_NEAR((Likelihood{0.3, 0}.of(40, 40).misfit), 0, 1e-12);
  EXPECT_NEAR((Likelihood{0.3, 1}.of(40, 40).misfit), 0, 1e-12);
}

TEST(LikelihoodTest, ARoundedReadingSaysLittleAboutWhereInItsStep) {
  EXPECT_NEAR((Likelihood{0.05, 1}.of(40, 40.2).weight), 0, 1e-3);
  EXPECT_NEAR((Likelihood{0.05, 0}.of(40, 40.2).weight), 400, 40);
}

TEST(LikelihoodTest, AStrayReadingPullsAtNothing) {
  EXPECT_LT(std::abs((Likelihood{0.3, 1}.of(0, 40).slope)), 1e-6);
  EXPECT_LT(std::abs((Likelihood{0.3, 0}.of(90, 40).slope)), 1e-6);
  EXPECT_GT(std::abs((Likelihood{0.3, 0}.of(40.9, 40).slope)), 5);
}

} // namespace
