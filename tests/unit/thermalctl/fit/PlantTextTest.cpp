#include "fit/PlantText.h"

#include <limits>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "thermalctl/fit/FitExamples.h"

namespace {

constexpr char kKept[] = "  # not determined: the guess";

std::string without(std::string text, const std::string& what) {
  for (size_t at = text.find(what); at != std::string::npos; at = text.find(what))
    text.erase(at, what.size());
  return text;
}

std::vector<Estimate> guessesOf(const std::vector<Quantity>& quantities) {
  std::vector<Estimate> estimates;
  estimates.reserve(quantities.size());
  for (const Quantity& quantity : quantities)
    estimates.push_back({quantity.guess, 0, 0, true, {}});
  return estimates;
}

TEST(PlantTextTest, WritesTheDigitsThatAreDeservedAndTheInterval) {
  const auto quantities = fit_examples::quantitiesOf("\"node.case.*\", \"sensor.chip_t.offset\"");
  const std::string text =
      withEstimates(fit_examples::kPlant, quantities,
                    {{41.23456, 40.2, 42.3, false, {}}, {-0.256789, -0.35, -0.15, false, {}}});
  EXPECT_NE(text.find("joules_per_kelvin = 41.2 # a guess  # 95 %: 40.2 to 42.3 J/K\n"),
            std::string::npos)
      << text;
  EXPECT_NE(text.find("[sensor.chip_t]\noffset = -0.26  # 95 %: -0.35 to -0.15 C\n"),
            std::string::npos)
      << text;
}

TEST(PlantTextTest, ButForTheRemarksATextWithoutFindingsStaysAsItIs) {
  for (const std::string end : {"\n", "\r\n"}) {
    std::string text = fit_examples::kPlant;
    for (size_t at = text.find('\n'); at != std::string::npos;
         at = text.find('\n', at + end.size()))
      text.replace(at, 1, end);
    // The last line need not end.
    text.resize(text.size() - end.size());
    const auto quantities = fit_examples::quantitiesOf("\"*\"", text + end);
    ASSERT_GT(quantities.size(), 5U);
    const std::string written = withEstimates(text, quantities, guessesOf(quantities));
    EXPECT_EQ(without(written, kKept), text);
    EXPECT_NE(written, text);
  }
}

TEST(PlantTextTest, WhatItWritesIsThePlantThatWasFound) {
  const auto quantities = fit_examples::quantitiesOf("\"*\"");
  std::vector<Estimate> estimates;
  std::vector<double> values;
  for (const Quantity& quantity : quantities) {
    values.push_back(quantity.guess * 1.25 + (quantity.byLogarithm() ? 0 : 0.5));
    estimates.push_back({values.back(), values.back() - 0.01, values.back() + 0.01, false, {}});
  }
  const std::string text = withEstimates(fit_examples::kPlant, quantities, estimates);
  Problems problems;
  const PlantDescription again = readPlant(text, "plant.toml", fit_examples::board(), problems);
  EXPECT_TRUE(problems.none()) << text;
  EXPECT_NEAR(again.ambient, 25.5, 0.001);
  EXPECT_NEAR(again.nodes[0].capacity, 3.125, 0.001);
  EXPECT_NEAR(again.resistances[1].value, 6.25, 0.001);
  EXPECT_NEAR(again.sources[0].watts[0], 3.75, 0.001);
  EXPECT_NEAR(again.sources[0].idle, 0.25, 0.001);
  EXPECT_NEAR(again.probes[0].offset, 0.5, 0.001);
  EXPECT_NEAR(again.probes[1].lag, 15, 0.001);
}

TEST(PlantTextTest, FittedAgainItHasTheLatestIntervalsAlone) {
  const auto quantities = fit_examples::quantitiesOf("\"node.case.*\"");
  const std::string once =
      withEstimates(fit_examples::kPlant, quantities, {{41, 40, 42, false, {}}});
  const std::string twice = withEstimates(once, fit_examples::quantitiesOf("\"node.case.*\"", once),
                                          {{43, 42.5, 43.5, false, {}}});
  EXPECT_NE(twice.find("joules_per_kelvin = 43.00 # a guess  # 95 %: 42.50 to 43.50 J/K\n"),
            std::string::npos)
      << twice;
}

TEST(PlantTextTest, DigitsGoByATenthOfTheInterval) {
  EXPECT_EQ(deserved(41.23456, 1), "41.2");
  EXPECT_EQ(deserved(41.23456, 0.3), "41.23");
  EXPECT_EQ(deserved(41.23456, 20), "41");
  EXPECT_EQ(deserved(41.23456, 1000), "41");
}

TEST(PlantTextTest, WithoutAnIntervalANumberHasSixDigits) {
  EXPECT_EQ(deserved(41.234567, 0), "41.2346");
  EXPECT_EQ(deserved(41.234567, std::numeric_limits<double>::infinity()), "41.2346");
  EXPECT_EQ(deserved(41.234567, std::numeric_limits<double>::quiet_NaN()), "41.2346");
}

TEST(PlantTextTest, ATinyNumberOfALawDoesNotBecomeZero) {
  EXPECT_NEAR(std::stod(deserved(4.1e-19, 2e-20)), 4.1e-19, 2e-21);
}

} // namespace
