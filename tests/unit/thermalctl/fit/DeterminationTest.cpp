#include "fit/Determination.h"

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

} // namespace
