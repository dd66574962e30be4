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

// A source of three levels, of which the last gives off nothing.
Quantity levelsOf(const std::string& line, int number) {
  Quantity watts;
  watts.kind = Quantity::Kind::kWatts;
  watts.name = "source.cpu.watts";
  watts.guess = 4;
  for (const std::string level : {"4", "1", "0"})
    watts.places.push_back(
        {{{number, static_cast<int>(line.find(level)) + 1}, level.size()}, std::stod(level)});
  return watts;
}

TEST(PlantTextTest, OfATableOfWattsEachEntryKeepsItsShare) {
  const std::string line = "watts = [4, 1, 0]";
  EXPECT_EQ(withEstimates("[source.cpu]\n" + line + "\n", {levelsOf(line, 2)},
                          {{6, 5.8, 6.2, false, {}}}),
            "[source.cpu]\nwatts = [6.00, 1.500, 0]  # source.cpu.watts 95 %: 5.80 to 6.20 W\n");
  EXPECT_EQ(
      withEstimates("[source.cpu]\n" + line + "\n", {levelsOf(line, 2)}, {{4, 0, 0, true, {}}}),
      "[source.cpu]\nwatts = [4, 1, 0]  # source.cpu.watts not determined: the guess\n");
}

TEST(PlantTextTest, OfATableFittedAgainTheLatestRemarkStays) {
  const std::string line = "watts = [4, 1, 0]";
  for (const char* earlier : {"  # source.cpu.watts 95 %: 3.00 to 5.00 W",
                              "  # source.cpu.watts not determined: the guess"})
    EXPECT_EQ(withEstimates(line + earlier, {levelsOf(line, 1)}, {{4, 0, 0, true, {}}}),
              line + "  # source.cpu.watts not determined: the guess");
}

TEST(PlantTextTest, ARemarkThatIsNoFitsStays) {
  const auto quantities = fit_examples::quantitiesOf("\"node.case.*\"");
  std::string text = fit_examples::kPlant;
  text.replace(text.find("# a guess"), 9, "# 95 % sure");
  EXPECT_NE(withEstimates(text, quantities, {{41, 40, 42, false, {}}})
                .find("= 41.0 # 95 % sure  # 95 %: 40.0 to 42.0 J/K\n"),
            std::string::npos);
}

TEST(PlantTextTest, ANumberThatFollowsAGuessSaysSo) {
  const auto quantities = fit_examples::quantitiesOf("\"node.case.*\"");
  EXPECT_NE(withEstimates(fit_examples::kPlant, quantities, {{41, 40, 42, false, 0}})
                .find("# 95 %: 40.0 to 42.0 J/K, as far as a guess that was kept is right\n"),
            std::string::npos);
}

TEST(PlantTextTest, AnAmbientThatIsNotThereIsPutInFront) {
  Quantity ambient;
  ambient.kind = Quantity::Kind::kAmbient;
  EXPECT_EQ(withEstimates("# mine\r\n[node.chip]\r\n", {ambient}, {{21.25, 21, 21.5, false, {}}}),
            "ambient = 21.25  # 95 %: 21.00 to 21.50 C\r\n# mine\r\n[node.chip]\r\n");
  // Of a guess that stays nothing is written.
  EXPECT_EQ(withEstimates("# mine\n", {ambient}, {{25, 0, 0, true, {}}}), "# mine\n");
}

TEST(PlantTextTest, AnOffsetIsPutInWithTheEndsOfTheLinesThatThereAre) {
  Quantity offset;
  offset.kind = Quantity::Kind::kOffset;
  offset.places = {{{{1, 0}, 0}, 0}};
  const std::string line = "offset = -0.50  # 95 %: -0.60 to -0.40 C";
  const std::vector<Estimate> found = {{-0.5, -0.6, -0.4, false, {}}};
  EXPECT_EQ(withEstimates("[sensor.a]\r\nnode = 1\r\n", {offset}, found),
            "[sensor.a]\r\n" + line + "\r\nnode = 1\r\n");
  EXPECT_EQ(withEstimates("[sensor.a]", {offset}, found), "[sensor.a]\n" + line);
}

TEST(PlantTextTest, NumbersOfOneLineAreAllReplaced) {
  Quantity capacity;
  Quantity resistance;
  resistance.kind = Quantity::Kind::kResistance;
  capacity.guess = resistance.guess = 2;
  capacity.places = {{{{1, 7}, 1}, 2}};
  resistance.places = {{{{1, 14}, 1}, 2}};
  EXPECT_EQ(withEstimates("{ c = 2, r = 2 }\n", {capacity, resistance},
                          {{12.5, 12, 13, false, {}}, {3.5, 3, 4, false, {}}}),
            "{ c = 12.50, r = 3.50 }  # 95 %: 12.00 to 13.00 J/K  # 95 %: 3.00 to 4.00 K/W\n");
}

TEST(PlantTextTest, DigitsThatWouldBeTooManyBecomeAnExponent) {
  EXPECT_EQ(deserved(1.2345678e-10, 1e-11), "0.000000000123");
  EXPECT_EQ(deserved(1.2345678e-10, 9e-12), "1.235e-10");
  EXPECT_EQ(deserved(-2.5, 0.1), "-2.50");
  EXPECT_EQ(deserved(0, 1e-15), "0");
  EXPECT_EQ(deserved(41.2, -1), "41.2");
}

} // namespace
