#include "fit/Steps.h"

#include <vector>

#include <gtest/gtest.h>

namespace {

double stepOf(const std::vector<double>& readings) {
  RecordedFile file;
  for (const double celsius : readings)
    file.readings.push_back({0, celsius});
  return stepsOf({{"one", {file}}}, 1).front();
}

TEST(StepsTest, TheLargestStepOfWhichAllAreMultiples) {
  EXPECT_EQ(stepOf({31, 32, 45}), 1);
  EXPECT_EQ(stepOf({31, 32.5, 45}), 0.5);
  EXPECT_EQ(stepOf({31.25, 32.5}), 0.25);
  EXPECT_EQ(stepOf({31.0625, 32.5}), 0.0625);
  EXPECT_EQ(stepOf({31.1, 32.7, -4.3}), 0.1);
  EXPECT_EQ(stepOf({31.13}), 0.01);
}

TEST(StepsTest, OneReadingBetweenTheStepsIsEnough) {
  EXPECT_EQ(stepOf({31, 32, 33, 34, 33.4}), 0.2);
  EXPECT_EQ(stepOf({31, 32, 33, 34, 33.4567}), 0);
}

TEST(StepsTest, EachOutputHasItsOwnInAllFilesTogether) {
  RecordedFile one;
  one.readings = {{0, 30}, {1, 30.5}};
  RecordedFile other;
  other.readings = {{0, 30.1}, {1, 31}};
  const std::vector<double> steps = stepsOf({{"a", {one}}, {"b", {other}}}, 2);
  EXPECT_EQ(steps, (std::vector<double>{0.1, 0.5}));
}

TEST(StepsTest, KnowsEachOfTheUsualSteps) {
  for (const double step : {1.0, 0.5, 0.25, 0.2, 0.125, 0.1, 0.0625, 0.05, 0.02, 0.01})
    EXPECT_EQ(stepOf({30 + step, 30 + 3 * step}), step);
}

TEST(StepsTest, AReadingOfZeroIsAMultipleOfEach) {
  EXPECT_EQ(stepOf({0}), 1);
  EXPECT_EQ(stepOf({0, 31.1, -0.2}), 0.1);
}

TEST(StepsTest, ASumThatIsNotExactIsAMultipleYet) {
  EXPECT_EQ(stepOf({0.1 + 0.2}), 0.1);
  EXPECT_EQ(stepOf({30.1, 30.101}), 0);
}

TEST(StepsTest, WhatIsNotReadHasTheLargest) {
  EXPECT_EQ(stepsOf({}, 2), (std::vector<double>{1, 1}));
}

} // namespace
