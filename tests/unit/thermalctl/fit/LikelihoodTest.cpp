#include "fit/Likelihood.h"

#include <cmath>
#include <string>

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

TEST(LikelihoodTest, FarInTheTailsEverythingStaysFinite) {
  for (const double noise : {0.003, 0.3, 50.0})
    for (const double step : {0.0, 0.01, 1.0, 5.0})
      for (const double apart : {-1e6, -300.0, -12.0, 0.0, 0.5, 11.5, 12.4, 40.0, 1e6}) {
        const Agreement found = Likelihood{noise, step}.of(40, 40 + apart);
        const std::string where =
            std::to_string(noise) + " " + std::to_string(step) + " " + std::to_string(apart);
        EXPECT_TRUE(std::isfinite(found.misfit) && std::isfinite(found.slope)) << where;
        EXPECT_GE(found.misfit, -1e-12) << where;
        EXPECT_GE(found.weight, 0) << where;
        EXPECT_LE(found.weight, 1 / (noise * noise)) << where;
      }
}

TEST(LikelihoodTest, AReadingIsAsLikelyAsTheShareOfTheNormalDistributionInItsStep) {
  // 40 to the nearest degree, of 40.2 with a noise of 0.5: from -1.4 to 0.6 standard deviations.
  const auto below = [](double z) { return (1 + std::erf(z / std::sqrt(2))) / 2; };
  const double share = below(0.6) - below(-1.4);
  const double best = below(1) - below(-1);
  EXPECT_NEAR((Likelihood{0.5, 1}.of(40, 40.2).misfit), std::log(best / share), 1e-4);
}

TEST(LikelihoodTest, WeightIsTheSecondDerivativeWhereNoReadingIsAstray) {
  for (const double step : {0.0, 0.5, 1.0}) {
    const Likelihood likelihood{0.4, step};
    constexpr double kStep = 1e-3;
    const double bend =
        (slopeOf(likelihood, 40, 40.3 + kStep) - slopeOf(likelihood, 40, 40.3 - kStep)) /
        (2 * kStep);
    EXPECT_NEAR(likelihood.of(40, 40.3).weight, bend, 0.01 * bend) << step;
  }
}

TEST(LikelihoodTest, AFineStepIsAsGoodAsNone) {
  for (const double apart : {0.0, 0.5, 2.0})
    EXPECT_NEAR((Likelihood{1, 0.051}.of(40, 40 + apart).misfit),
                (Likelihood{1, 0.049}.of(40, 40 + apart).misfit), 1e-3);
}

TEST(LikelihoodTest, ATableHasWhatTheLikelihoodHas) {
  for (const double noise : {0.05, 0.3, 2.0})
    for (const double step : {0.0, 0.1, 1.0, 5.0}) {
      const Likelihood likelihood{noise, step};
      const LikelihoodTable table(likelihood);
      EXPECT_EQ(table.best(), likelihood.best());
      for (double apart = -2 * step - 10 * noise; apart < 2 * step + 10 * noise;
           apart += noise / 37) {
        const Agreement exact = likelihood.of(40, 40 + apart);
        const Agreement found = table.of(40, 40 + apart);
        const std::string where = std::to_string(noise) + " " + std::to_string(step) + " " +
                                  std::to_string(apart / noise);
        EXPECT_NEAR(found.misfit, exact.misfit, 1e-5) << where;
        EXPECT_NEAR(found.slope * noise, exact.slope * noise, 2e-4) << where;
        EXPECT_NEAR(found.weight * noise * noise, exact.weight * noise * noise, 2e-3) << where;
      }
    }
}

TEST(LikelihoodTest, ATableIsOfOneNoiseAndOneStep) {
  const LikelihoodTable table({0.3, 1});
  EXPECT_TRUE(table.isOf({0.3, 1}));
  EXPECT_FALSE(table.isOf({0.3, 0.1}));
  EXPECT_FALSE(table.isOf({0.2, 1}));
}

} // namespace
