#include "fit/Determination.h"

#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "thermalctl/fit/FitExamples.h"

namespace {

using Eigen::Index;
using Eigen::MatrixXd;

class DeterminationTest : public testing::Test {
protected:
  // All that the unknowns know of themselves, and nothing of one another.
  MatrixXd information(double each) const {
    const Index count = measured.values.size();
    return each * MatrixXd::Identity(count, count);
  }

  const fit_examples::Measured measured{"\"node.*\""};
  const std::vector<bool> none{false, false};
};

TEST_F(DeterminationTest, WhatAnUnknownStartTakesUpIsNotKnown) {
  MatrixXd all = information(4);
  all(0, 3) = all(3, 0) = 2;
  const MatrixXd found = informationOfQuantities(measured.misfit, all, none);
  EXPECT_EQ(found.rows(), 2);
  EXPECT_NEAR(found(0, 0), 4 - 2 * 2 / 4.0, 1e-5);
  EXPECT_NEAR(found(1, 1), 4, 1e-5);
  EXPECT_NEAR(found(0, 1), 0, 1e-5);
}

TEST_F(DeterminationTest, AFrozenOneIsNoUnknown) {
  const MatrixXd found = informationOfQuantities(measured.misfit, information(4), {true, false});
  EXPECT_EQ(found(0, 0), 0);
  EXPECT_EQ(found(1, 1), 4);
  const MatrixXd covariance = covarianceOf(found, {true, false});
  EXPECT_EQ(covariance(0, 0), 0);
  EXPECT_DOUBLE_EQ(covariance(1, 1), 0.25);
}

TEST_F(DeterminationTest, TwoOfWhichOnlyTheProductIsKnownAreOneDirection) {
  MatrixXd product(2, 2);
  product << 100, 100, 100, 100;
  const auto found = undeterminedOf(measured.misfit, product, measured.values, none);
  ASSERT_EQ(found.size(), 1U);
  EXPECT_EQ(found[0].members, (std::vector<size_t>{0, 1}));
  EXPECT_NEAR(found[0].shares[0], -found[0].shares[1], 1e-9);
}

TEST_F(DeterminationTest, WhatIsKnownWellIsNotTold) {
  // A standard deviation of a tenth, and one of a half.
  MatrixXd some(2, 2);
  some << 100, 0, 0, 4;
  const auto found = undeterminedOf(measured.misfit, some, measured.values, none);
  ASSERT_EQ(found.size(), 1U);
  EXPECT_EQ(found[0].frozen, 1U);
  EXPECT_EQ(found[0].members, (std::vector<size_t>{1}));
}

TEST_F(DeterminationTest, WhatIsKnownToAThirdIsKnown) {
  // A standard deviation of 0.35 is the largest that counts as known.
  MatrixXd some(2, 2);
  some << 1 / (0.349 * 0.349), 0, 0, 1 / (0.351 * 0.351);
  const auto found = undeterminedOf(measured.misfit, some, measured.values, none);
  ASSERT_EQ(found.size(), 1U);
  EXPECT_EQ(found[0].frozen, 1U);
}

TEST_F(DeterminationTest, ADegreeOfAnOffsetIsKnownAndTwoAreNot) {
  const fit_examples::Measured offsets("\"sensor.*.offset\"");
  MatrixXd some(2, 2);
  some << 1 / (0.99 * 0.99), 0, 0, 1 / (1.01 * 1.01);
  const auto found = undeterminedOf(offsets.misfit, some, offsets.values, none);
  ASSERT_EQ(found.size(), 1U);
  EXPECT_EQ(found[0].frozen, 1U);
  // A share of a number without a logarithm is its change.
  EXPECT_EQ(found[0].changes, found[0].shares);
}

TEST_F(DeterminationTest, TheLeastKnownComesFirstAndTheNextIsAskedForWithoutIt) {
  MatrixXd some(2, 2);
  some << 2, 0, 0, 1;
  const auto found = undeterminedOf(measured.misfit, some, measured.values, none);
  ASSERT_EQ(found.size(), 2U);
  EXPECT_EQ(found[0].frozen, 1U);
  EXPECT_EQ(found[1].frozen, 0U);
  EXPECT_EQ(found[1].members, std::vector<size_t>{0});
}

TEST_F(DeterminationTest, AFrozenOneIsInNoDirection) {
  const auto found =
      undeterminedOf(measured.misfit, MatrixXd::Zero(2, 2), measured.values, {true, false});
  ASSERT_EQ(found.size(), 1U);
  EXPECT_EQ(found[0].members, std::vector<size_t>{1});
  EXPECT_TRUE(
      undeterminedOf(measured.misfit, MatrixXd::Zero(2, 2), measured.values, {true, true}).empty());
}

TEST_F(DeterminationTest, OnlyWhatADirectionMovesByAQuarterBelongsToIt) {
  for (const auto& [share, members] : {std::pair(0.26, 2U), std::pair(0.24, 1U)}) {
    // Known is what lies across the direction alone.
    const Eigen::Vector2d across = Eigen::Vector2d(-share, 1).normalized();
    const MatrixXd some = 1e4 * across * across.transpose();
    const auto found = undeterminedOf(measured.misfit, some, measured.values, none);
    ASSERT_EQ(found.size(), 1U);
    EXPECT_EQ(found[0].members.size(), members) << share;
    EXPECT_EQ(found[0].frozen, 0U);
  }
}

TEST_F(DeterminationTest, AChangeOfALogarithmIsAShareOfTheNumber) {
  MatrixXd product(2, 2);
  product << 100, 100, 100, 100;
  const auto found = undeterminedOf(measured.misfit, product, measured.values, none);
  ASSERT_EQ(found.size(), 1U);
  EXPECT_NEAR(found[0].changes[0], 2.5 * found[0].shares[0], 1e-9);
  EXPECT_NEAR(found[0].changes[1], 40 * found[0].shares[1], 1e-9);
}

TEST_F(DeterminationTest, WhereAllAreFrozenNothingVaries) {
  EXPECT_EQ(covarianceOf(4 * MatrixXd::Identity(2, 2), {true, true}), MatrixXd::Zero(2, 2));
}

TEST_F(DeterminationTest, TheCovarianceIsTheInverseOfWhatIsFree) {
  MatrixXd known(3, 3);
  known << 4, 9, 1, 9, 9, 9, 1, 9, 2;
  const MatrixXd covariance = covarianceOf(known, {false, true, false});
  EXPECT_NEAR(covariance(0, 0), 2 / 7.0, 1e-12);
  EXPECT_NEAR(covariance(2, 2), 4 / 7.0, 1e-12);
  EXPECT_NEAR(covariance(0, 2), -1 / 7.0, 1e-12);
  EXPECT_NEAR(covariance(2, 0), -1 / 7.0, 1e-12);
  EXPECT_EQ(covariance.row(1).norm() + covariance.col(1).norm(), 0);
}

} // namespace
