#include "fit/FreeQuantities.h"

#include <sstream>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "thermalctl/fit/FitExamples.h"

namespace {

using QuantityKind = Quantity::Kind;

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

TEST_F(FreeQuantitiesTest, KnowsEachKindByItsName) {
  struct {
    const char* name;
    QuantityKind kind;
    size_t index;
    double guess;
  } const cases[] = {{"node.case.joules_per_kelvin", QuantityKind::kCapacity, 1, 40},
                     {"resistance.case-ambient", QuantityKind::kResistance, 1, 5},
                     {"source.panel.watts", QuantityKind::kWatts, 1, 1},
                     {"source.cpu.idle_watts", QuantityKind::kIdle, 0, 0.2},
                     {"sensor.case_t.lag", QuantityKind::kLag, 1, 12},
                     {"sensor.case_t.offset", QuantityKind::kOffset, 1, 0},
                     {"ambient", QuantityKind::kAmbient, 0, 20}};
  for (const auto& each : cases) {
    const auto found = read("[fit]\nfree = [\"" + std::string(each.name) + "\"]\n");
    ASSERT_EQ(found.size(), 1U) << each.name;
    EXPECT_EQ(found[0].name, each.name);
    EXPECT_EQ(found[0].kind, each.kind) << each.name;
    EXPECT_EQ(found[0].index, each.index) << each.name;
    EXPECT_EQ(found[0].guess, each.guess) << each.name;
  }
}

TEST_F(FreeQuantitiesTest, ASensorIsThatOfThePlantWhereverItStands) {
  std::string text = fit_examples::kPlant;
  text.replace(text.find("[sensor.chip_t]"), std::string::npos,
               "[sensor.case_t]\nnode = \"case\"\nlag = 12\n"
               "[sensor.chip_t]\nnode = \"chip\"\nlag = 3\n");
  const PlantDescription plant = fit_examples::plantOf(text);
  for (const Quantity& found : read("[fit]\nfree = [\"sensor.*.lag\"]\n", text))
    EXPECT_EQ(plant.probes.at(found.index).lag, found.guess) << found.name;
}

TEST_F(FreeQuantitiesTest, OfATableOfWattsTheMostIsTheGuessAndEachEntryAPlace) {
  std::string text = fit_examples::kPlant;
  TraceDescription board = fit_examples::board();
  board.devices.push_back({"clock", "cpufreq", {"3", "2", "1"}});
  text.replace(text.find("watts = 3"), 9, "device = \"clock\"\nwatts = [2, 3, 0.5]");
  const PlantDescription plant = readPlant(text, "plant.toml", board, problems);
  const auto found = readFreeQuantities(text + "[fit]\nfree = [\"source.cpu.watts\"]\n",
                                        "plant.toml", plant, board, problems);
  ASSERT_EQ(told(), "");
  ASSERT_EQ(found.size(), 1U);
  EXPECT_EQ(found[0].guess, 3);
  EXPECT_EQ(found[0].least, 0.3);
  EXPECT_EQ(found[0].most, 30);
  ASSERT_EQ(found[0].places.size(), 3U);
  EXPECT_EQ(found[0].places[0].value, 2);
  EXPECT_EQ(found[0].places[2].value, 0.5);
  EXPECT_EQ(found[0].places[2].span.at.column, 16);
  EXPECT_EQ(found[0].places[2].span.length, 3U);
}

TEST_F(FreeQuantitiesTest, ASourceThatGivesOffNothingCannotBeScaledAndTheNextKeepsItsPlace) {
  std::string text = fit_examples::kPlant;
  text.replace(text.find("watts = 3"), 9, "watts = 0");
  EXPECT_EQ(namesOf("source.*.watts", text), Names{"source.panel.watts"});
  EXPECT_EQ(read("[fit]\nfree = [\"source.*.watts\"]\n", text).at(0).index, 1U);
}

TEST_F(FreeQuantitiesTest, TheAmbientHasAPlaceOnlyWhereItIsWritten) {
  const std::string free = "[fit]\nfree = [\"ambient\"]\n";
  const Quantity written = read(free).at(0);
  ASSERT_EQ(written.places.size(), 1U);
  EXPECT_EQ(written.places[0].span.at.line, 1);
  EXPECT_EQ(written.places[0].value, 20);
  std::string text = fit_examples::kPlant;
  text.erase(0, text.find('\n') + 1);
  const Quantity usual = read(free, text).at(0);
  EXPECT_TRUE(usual.places.empty());
  EXPECT_EQ(usual.guess, 25);
}

TEST_F(FreeQuantitiesTest, AnOffsetThatIsNotThereHasTheHeadOfItsSensorForAPlace) {
  const Quantity missing = read("[fit]\nfree = [\"sensor.chip_t.offset\"]\n").at(0);
  ASSERT_EQ(missing.places.size(), 1U);
  EXPECT_EQ(missing.places[0].span.length, 0U);
  EXPECT_EQ(missing.places[0].span.at.line, 19);
  std::string text = fit_examples::kPlant;
  text.insert(text.find("lag = 12"), "offset = -1.25\n");
  const Quantity there = read("[fit]\nfree = [\"sensor.case_t.offset\"]\n", text).at(0);
  EXPECT_EQ(there.guess, -1.25);
  EXPECT_EQ(there.least, -6.25);
  EXPECT_EQ(there.most, 3.75);
  EXPECT_EQ(there.places[0].span.at.line, 23);
  EXPECT_EQ(there.places[0].span.length, 5U);
}

TEST_F(FreeQuantitiesTest, TheyComeInTheOrderOfThePlantAndEachOnce) {
  Names names;
  for (const Quantity& quantity :
       read("[fit]\nfree = [\"ambient\", \"resistance.*\", \"node.case.*\", \"node.*\"]\n"))
    names.push_back(quantity.name);
  EXPECT_EQ(names, (Names{"node.chip.joules_per_kelvin", "node.case.joules_per_kelvin",
                          "resistance.chip-case", "resistance.case-ambient", "ambient"}));
}

TEST_F(FreeQuantitiesTest, AGuessMayBeOneOfItsBounds) {
  for (const char* bounds : {"least = 40\nmost = 41\n", "least = 39\nmost = 40\n"}) {
    read("[fit]\nfree = [\"node.*\"]\n[[fit.bounds]]\nof = \"node.case.*\"\n" +
         std::string(bounds));
    EXPECT_EQ(told(), "") << bounds;
  }
}

TEST_F(FreeQuantitiesTest, WhatBoundsLackOrHaveTooMuchIsTold) {
  const std::pair<const char*, const char*> cases[] = {
      {"of = \"node.*\"\nmost = 5\n", "error: 'least' is missing"},
      {"of = \"node.*\"\nleast = 5\n", "error: 'most' is missing"},
      {"of = \"node.case.*\"\nleast = 0\nmost = 50\n",
       "node.case.joules_per_kelvin cannot be 0 or less"},
      {"of = \"ambient\"\nleast = 21\nmost = 22\n",
       "the guess of ambient, 20, is not within its bounds"},
      {"of = \"ambient\"\nleast = 15\nmost = 22\nlow = 3\n", "'low'"},
  };
  for (const auto& [bounds, message] : cases) {
    read("[fit]\nfree = [\"node.*\"]\n[[fit.bounds]]\n" + std::string(bounds));
    EXPECT_NE(told().find(message), std::string::npos) << bounds << told();
  }
}

TEST_F(FreeQuantitiesTest, OneSlipIsOneProblem) {
  read("[fit]\nfree = [\"nodes\"]\n");
  EXPECT_EQ(told().find("nothing is free"), std::string::npos) << told();
  EXPECT_EQ(told().rfind("plant.toml:25:9: error: 'nodes' is none of the plant's numbers\n", 0), 0U)
      << told();
}

TEST_F(FreeQuantitiesTest, AKeyThatAFitDoesNotHaveIsTold) {
  read("[fit]\nfree = [\"node.*\"]\nfixed = []\n");
  EXPECT_NE(told().find("plant.toml:26:1: error: "), std::string::npos) << told();
  EXPECT_NE(told().find("'fixed'"), std::string::npos) << told();
}

TEST_F(FreeQuantitiesTest, ATextThatIsNoTomlGivesNone) {
  problems = Problems();
  EXPECT_TRUE(readFreeQuantities("[fit\n", "plant.toml", fit_examples::plantOf(),
                                 fit_examples::board(), problems)
                  .empty());
  EXPECT_NE(told().find("plant.toml:1:"), std::string::npos) << told();
}

TEST_F(FreeQuantitiesTest, AThirdResistanceBetweenTheSameTwoIsTheThird) {
  const PlantDescription plant = fit_examples::plantOf(
      kTwins + "[[resistance]]\nbetween = [\"chip\", \"case\"]\nkelvin_per_watt = 9\n");
  EXPECT_EQ(resistanceNames(plant, 0), (Names{"resistance.chip-case", "resistance.case-chip"}));
  EXPECT_EQ(resistanceNames(plant, 1),
            (Names{"resistance.case-ambient", "resistance.ambient-case"}));
  EXPECT_EQ(resistanceNames(plant, 2), (Names{"resistance.case-chip#2", "resistance.chip-case#2"}));
  EXPECT_EQ(resistanceNames(plant, 3), (Names{"resistance.chip-case#3", "resistance.case-chip#3"}));
}

} // namespace
