#include "fit/FreeQuantities.h"

#include <sstream>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "thermalctl/fit/FitExamples.h"

namespace {

class FreeQuantitiesTest : public testing::Test {
protected:
  std::vector<Quantity> read(const std::string& fit,
                             const std::string& text = fit_examples::kPlant) {
    problems = Problems();
    return readFreeQuantities(text + fit, "plant.toml", fit_examples::plantOf(text),
                              fit_examples::board(), problems);
  }

  std::vector<std::string> namesOf(const std::string& pattern,
                                   const std::string& text = fit_examples::kPlant) {
    std::vector<std::string> names;
    for (const Quantity& quantity : read("[fit]\nfree = [\"" + pattern + "\"]\n", text))
      names.push_back(quantity.name);
    return names;
  }

  std::string told() const {
    std::ostringstream out;
    problems.print(out);
    return out.str();
  }

  using Names = std::vector<std::string>;
  Problems problems;
};

const std::string kTwins = std::string(fit_examples::kPlant) +
                           "[[resistance]]\nbetween = [\"case\", \"chip\"]\nkelvin_per_watt = 30\n";

TEST_F(FreeQuantitiesTest, WithoutAWordAboutItAllCapacitiesAndResistances) {
  Names names;
  for (const Quantity& quantity : read(""))
    names.push_back(quantity.name);
  EXPECT_EQ(names, (Names{"node.chip.joules_per_kelvin", "node.case.joules_per_kelvin",
                          "resistance.chip-case", "resistance.case-ambient"}));
}

TEST_F(FreeQuantitiesTest, ANumberMayBeATenthToTenTimesItsGuess) {
  const Quantity found = read("[fit]\nfree = [\"node.case.*\"]\n").at(0);
  EXPECT_EQ(found.guess, 40);
  EXPECT_DOUBLE_EQ(found.least, 4);
  EXPECT_DOUBLE_EQ(found.most, 400);
}

TEST_F(FreeQuantitiesTest, AnOffsetAndTheAmbientMayBeFiveDegreesOff) {
  const std::vector<Quantity> found =
      read("[fit]\nfree = [\"sensor.case_t.offset\", \"ambient\"]\n");
  ASSERT_EQ(found.size(), 2U);
  EXPECT_EQ(found[0].least, -5);
  EXPECT_EQ(found[0].most, 5);
  EXPECT_EQ(found[1].least, 15);
  EXPECT_EQ(found[1].most, 25);
}

TEST_F(FreeQuantitiesTest, WhatIsZeroOrMissingCannotBeScaled) {
  // The panel has no idle power, and the chip's sensor no lag.
  EXPECT_EQ(namesOf("source.*.idle_watts"), Names{"source.cpu.idle_watts"});
  EXPECT_EQ(namesOf("sensor.*.lag"), Names{"sensor.case_t.lag"});
}

TEST_F(FreeQuantitiesTest, AnOffsetThatIsNotThereNeedsAHeadToStandBehind) {
  std::string text = fit_examples::kPlant;
  const size_t from = text.find("[sensor.chip_t]");
  text.replace(from, text.find("[sensor.case_t]") - from,
               "[sensor]\nchip_t = { node = \"chip\" }\n");
  EXPECT_EQ(namesOf("sensor.*.offset", text), Names{"sensor.case_t.offset"});
  text.replace(text.find("\"chip\" }"), 8, "\"chip\", offset = 0.5 }");
  EXPECT_EQ(namesOf("sensor.*.offset", text).size(), 2U);
}

TEST_F(FreeQuantitiesTest, EachNumberKnowsWhereItStands) {
  const Quantity found = read("[fit]\nfree = [\"resistance.case-ambient\"]\n").at(0);
  ASSERT_EQ(found.places.size(), 1U);
  EXPECT_EQ(found.places[0].span.at.line, 11);
  EXPECT_EQ(found.places[0].span.at.column, 19);
  EXPECT_EQ(found.places[0].span.length, 1U);
}

TEST_F(FreeQuantitiesTest, EndsMayStandInEitherOrder) {
  EXPECT_EQ(namesOf("resistance.ambient-case"), Names{"resistance.case-ambient"});
  EXPECT_EQ(namesOf("resistance.ambient-*"), Names{"resistance.case-ambient"});
}

TEST_F(FreeQuantitiesTest, EndsWithDashesMayToo) {
  std::string text = fit_examples::kPlant;
  for (size_t at = text.find("chip"); at != std::string::npos; at = text.find("chip", at + 1))
    if (text.compare(at, 6, "chip_t") != 0) text.replace(at, 4, "big-cpu");
  EXPECT_EQ(namesOf("resistance.big-cpu-case", text), Names{"resistance.big-cpu-case"});
  EXPECT_EQ(namesOf("resistance.case-big-cpu", text), Names{"resistance.big-cpu-case"});
}

TEST_F(FreeQuantitiesTest, ASecondOneBetweenTheSameTwoHasItsNumberInEitherOrder) {
  EXPECT_EQ(namesOf("resistance.case-chip#2", kTwins), Names{"resistance.case-chip#2"});
  EXPECT_EQ(namesOf("resistance.chip-case#2", kTwins), Names{"resistance.case-chip#2"});
  EXPECT_EQ(namesOf("resistance.case-chip", kTwins), Names{"resistance.chip-case"});
}

TEST_F(FreeQuantitiesTest, BoundsTakeThePlaceOfTheUsual) {
  const Quantity found = read("[fit]\nfree = [\"node.*\"]\n[[fit.bounds]]\nof = \"node.case.*\"\n"
                              "least = 40\nmost = 50\n")
                             .at(1);
  EXPECT_EQ(told(), "");
  EXPECT_EQ(found.least, 40);
  EXPECT_EQ(found.most, 50);
}

TEST_F(FreeQuantitiesTest, BoundsThatCannotBeMeantAreTold) {
  const std::pair<const char*, const char*> cases[] = {
      {"of = \"node.case.*\"\nleast = 41\nmost = 50\n", "40, is not within its bounds"},
      {"of = \"node.case.*\"\nleast = 50\nmost = 50\n", "'most' must be above 'least'"},
      {"of = \"node.case.*\"\nleast = -1\nmost = 50\n", "cannot be 0 or less"},
      {"of = \"node.cass.*\"\nleast = 1\nmost = 50\n", "is none of the plant's numbers"},
      {"least = 1\nmost = 50\n", "'of' is missing"},
  };
  for (const auto& [bounds, message] : cases) {
    read("[fit]\nfree = [\"node.*\"]\n[[fit.bounds]]\n" + std::string(bounds));
    EXPECT_NE(told().find(message), std::string::npos) << bounds << told();
    EXPECT_NE(told().find("plant.toml:2"), std::string::npos) << told();
  }
}

TEST_F(FreeQuantitiesTest, AnOffsetMayHaveBoundsBelowZero) {
  read("[fit]\nfree = [\"sensor.*.offset\"]\n[[fit.bounds]]\nof = \"sensor.*.offset\"\nleast = -1\n"
       "most = 1\n");
  EXPECT_EQ(told(), "");
}

TEST_F(FreeQuantitiesTest, ASectionThatFreesNothingIsTold) {
  read("[fit]\nfree = []\n");
  EXPECT_NE(told().find("nothing is free"), std::string::npos) << told();
}

TEST_F(FreeQuantitiesTest, ASlipIsToldWithWhatWasMeant) {
  namesOf("resistance.chip-cas");
  EXPECT_NE(told().find("did you mean"), std::string::npos) << told();
}

TEST(QuantityTest, AScaleOfWattsIsThatOfAllLevels) {
  PlantDescription plant = fit_examples::plantOf();
  plant.sources[0].watts = {4, 2, 1};
  Quantity watts;
  watts.kind = Quantity::Kind::kWatts;
  watts.guess = 4;
  EXPECT_EQ(withValues(plant, {watts}, {6}).sources[0].watts, (std::vector<double>{6, 3, 1.5}));
}

} // namespace
