#include "fit/Words.h"

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "thermalctl/fit/FitExamples.h"

namespace {

class WordsTest : public testing::Test {
protected:
  // Of a direction in which the numbers of these names change by so much, as logarithms or degrees.
  using Changes = std::vector<std::pair<std::string, double>>;
  std::string of(const Changes& changes) const { return sentenceOf(measured, changes); }
  static std::string sentenceOf(const fit_examples::Measured& measured, const Changes& changes) {
    Estimation estimation = fit_examples::estimationOf(measured);
    Undetermined one;
    for (const auto& [name, share] : changes) {
      size_t i = 0;
      while (measured.quantities.at(i).name != name)
        ++i;
      one.members.push_back(i);
      one.shares.push_back(share);
      const bool log = measured.quantities[i].byLogarithm();
      one.changes.push_back(share * (log ? measured.quantities[i].guess : 1));
    }
    one.frozen = one.members.front();
    estimation.undetermined = {one};
    return inWords(measured.misfit, estimation).at(0);
  }

  // Both sources are on and off at the same times.
  void moveTogether() {
    std::vector<RecordedChange>& changes = measured.recordings[0].files[0].changes;
    changes.clear();
    for (int i = 0; i < 20; ++i)
      for (const uint32_t source : {0U, 1U})
        changes.push_back({40.0 * i, RecordedChange::Kind::kLoad, source, i % 2 == 0 ? 1.0 : 0.0});
  }

  static bool has(const std::string& sentence, const std::string& part) {
    return sentence.find(part) != std::string::npos;
  }

  fit_examples::Measured measured{
      "\"node.*\", \"resistance.*\", \"source.*\", \"sensor.*\", \"ambient\"", fit_examples::kPlant,
      400};
};

TEST_F(WordsTest, ResistancesInSeriesHaveASum) {
  // A kelvin per watt more of 8, and one less of 5.
  const std::string told =
      of({{"resistance.chip-case", 1 / 8.0}, {"resistance.case-ambient", -1 / 5.0}});
  EXPECT_TRUE(
      has(told, "only the sum of resistance.chip-case and resistance.case-ambient is determined"))
      << told;
  EXPECT_TRUE(has(told, "Kept at its guess: resistance.chip-case")) << told;
}

TEST_F(WordsTest, ACapacityAndItsResistanceHaveAProduct) {
  const std::string told =
      of({{"node.chip.joules_per_kelvin", 0.5}, {"resistance.chip-case", -0.5}});
  EXPECT_TRUE(has(told, "only the product of")) << told;
}

TEST_F(WordsTest, PowersWithoutAWattHaveACommonScale) {
  const std::string told = of({{"source.cpu.watts", 1},
                               {"node.chip.joules_per_kelvin", 1},
                               {"node.case.joules_per_kelvin", 1},
                               {"resistance.chip-case", -1},
                               {"resistance.case-ambient", -1}});
  EXPECT_TRUE(has(told, "common scale")) << told;
}

TEST_F(WordsTest, SourcesThatMoveTogetherAreToldApartByStepsOfOne) {
  moveTogether();
  const std::string told = of({{"source.cpu.watts", 1}, {"source.panel.watts", -3}});
  EXPECT_TRUE(has(told, "cpu and panel always moved together: step cpu alone")) << told;
}

TEST_F(WordsTest, SourcesThatMoveApartAreNotSaidToMoveTogether) {
  const std::string told = of({{"source.cpu.watts", 1}, {"source.panel.watts", -3}});
  EXPECT_FALSE(has(told, "moved together")) << told;
}

TEST_F(WordsTest, ASourceThatNeverMovedIsToBeStepped) {
  for (RecordedChange& change : measured.recordings[0].files[0].changes)
    if (change.kind == RecordedChange::Kind::kLoad && change.index == 0) change.value = 0.5;
  EXPECT_TRUE(has(of({{"source.cpu.watts", 1}}), "cpu was never moved: step it alone"));
}

TEST_F(WordsTest, MeasuredWattsUseNoTable) {
  for (RecordedChange& change : measured.recordings[0].files[0].changes)
    if (change.kind == RecordedChange::Kind::kLoad) change.kind = RecordedChange::Kind::kWatts;
  EXPECT_TRUE(has(of({{"source.cpu.watts", 1}}), "the watts of cpu were measured"));
}

TEST_F(WordsTest, EachKindHasItsReason) {
  EXPECT_TRUE(has(of({{"sensor.case_t.lag", 1}}), "nothing moved fast enough beside it"));
  EXPECT_TRUE(has(of({{"sensor.chip_t.offset", 1}}), "looks like a warmer or colder chip"));
  EXPECT_TRUE(has(of({{"ambient", 1}}), "add a column 'ambient'"));
  EXPECT_TRUE(has(of({{"source.cpu.idle_watts", 1}}), "idle power looks like a warmer ambient"));
}

TEST_F(WordsTest, ANodeThatNoSensorReadsIsToHaveOne) {
  std::vector<Reading>& readings = measured.recordings[0].files[1].readings;
  for (Reading& reading : readings)
    reading.output = 0;
  EXPECT_TRUE(has(of({{"node.case.joules_per_kelvin", 1}}), "put a sensor on case"));
  EXPECT_FALSE(has(of({{"node.chip.joules_per_kelvin", 1}}), "put a sensor"));
}

TEST_F(WordsTest, AStretchShorterThanTheSlowestTimeIsToBeLonger) {
  // The case alone takes 200 s.
  measured.misfit.stretches[0].rows[1].second = 100;
  EXPECT_TRUE(has(of({{"node.case.joules_per_kelvin", 0.5}, {"resistance.case-ambient", -0.5}}),
                  "is too short beside the slowest time constant"));
}

TEST_F(WordsTest, ASourceThatWasNeverOnIsToBeStepped) {
  for (RecordedChange& change : measured.recordings[0].files[0].changes)
    if (change.kind == RecordedChange::Kind::kLoad && change.index == 1) change.value = 0;
  EXPECT_EQ(of({{"source.panel.watts", 1}}),
            "source.panel.watts is not determined: panel was never on: step it alone. Kept at its "
            "guess: source.panel.watts");
}

TEST_F(WordsTest, ASourceThatMovedAndYetIsHardlySeenIsToBeSteppedForLonger) {
  EXPECT_EQ(of({{"source.panel.watts", 1}}),
            "source.panel.watts is not determined: what panel does is hardly seen: step it alone, "
            "for longer. Kept at its guess: source.panel.watts");
}

TEST_F(WordsTest, ANumberOfANodeIsDeterminedByStepsOfItsSource) {
  EXPECT_EQ(of({{"node.chip.joules_per_kelvin", 1}}),
            "node.chip.joules_per_kelvin is not determined: no reading shows how fast chip warms: "
            "step cpu alone. Kept at its guess: node.chip.joules_per_kelvin");
  EXPECT_TRUE(has(of({{"resistance.case-ambient", 1}}),
                  "resistance.case-ambient is not determined: no heat that is seen goes through "
                  "it: step panel alone. Kept"));
}

TEST_F(WordsTest, WhatHasNeitherASourceNorLacksASensorHasItsReasonAlone) {
  std::string text = fit_examples::kPlant;
  text.replace(text.find("node = \"case\"\nwatts"), 13, "nodes = { chip = 0.25, case = 0.75 }");
  const fit_examples::Measured spread("\"node.*\"", text, 400);
  EXPECT_EQ(sentenceOf(spread, {{"node.case.joules_per_kelvin", 1}}),
            "node.case.joules_per_kelvin is not determined: no reading shows how fast case warms. "
            "Kept at its guess: node.case.joules_per_kelvin");
}

TEST_F(WordsTest, NodesThatNoSensorReadsAreAllToHaveOne) {
  for (Reading& reading : measured.recordings[0].files[1].readings)
    reading.output = 2;
  // What reads the chip is told by its node's number.
  EXPECT_TRUE(has(of({{"resistance.chip-case", 1}}), ": step cpu alone, or put a sensor on case"));
  for (ReadingRow& row : measured.recordings[0].files[1].rows)
    row.end = row.first;
  EXPECT_TRUE(
      has(of({{"resistance.chip-case", 1}}), ": step cpu alone, or put a sensor on chip and case"));
}

TEST_F(WordsTest, LogarithmsThatMoveTogetherHaveARatio) {
  EXPECT_TRUE(has(of({{"node.chip.joules_per_kelvin", 0.5}, {"resistance.chip-case", 0.5}}),
                  "only the ratio of node.chip.joules_per_kelvin and resistance.chip-case is "
                  "determined: "));
}

TEST_F(WordsTest, WhatHasNeitherSumNorProductNorRatioHasACombination) {
  EXPECT_TRUE(has(of({{"node.chip.joules_per_kelvin", 1}, {"resistance.chip-case", 0.2}}),
                  "only a combination of node.chip.joules_per_kelvin and resistance.chip-case is"));
  // Degrees have no logarithm.
  EXPECT_TRUE(has(of({{"sensor.chip_t.offset", 1}, {"ambient", -1}}),
                  "only a combination of sensor.chip_t.offset and ambient is determined: "));
}

TEST_F(WordsTest, ThreeNumbersHaveCombinations) {
  EXPECT_TRUE(has(of({{"node.chip.joules_per_kelvin", 1},
                      {"resistance.chip-case", -1},
                      {"resistance.case-ambient", 1}}),
                  "only combinations of node.chip.joules_per_kelvin, resistance.chip-case and "
                  "resistance.case-ambient are determined: "));
}

TEST_F(WordsTest, ACommonScaleHasAPowerNoDegreesAndAllSharesAlike) {
  const std::pair<const char*, double> thermal[] = {{"node.chip.joules_per_kelvin", 1},
                                                    {"resistance.chip-case", -1}};
  const std::pair<std::pair<const char*, double>, bool> cases[] = {
      {{"source.cpu.watts", 1}, true},
      {{"source.cpu.idle_watts", 1}, true},
      {{"source.cpu.watts", -1}, false},
      {{"node.case.joules_per_kelvin", 1}, false},
      {{"sensor.chip_t.offset", 1}, false},
      {{"sensor.case_t.lag", 1}, false},
      {{"ambient", 1}, false}};
  for (const auto& [third, isScale] : cases)
    EXPECT_EQ(has(of({{thermal[0].first, thermal[0].second},
                      {thermal[1].first, thermal[1].second},
                      {third.first, third.second}}),
                  "powers, capacities and conductances have a common scale. Measure the watts of "
                  "one source, or fix them. Kept at its guess: node.chip.joules_per_kelvin"),
              isScale)
        << third.first << third.second;
}

TEST_F(WordsTest, OfSeveralASourceThatNeverMovedIsToBeStepped) {
  for (RecordedChange& change : measured.recordings[0].files[0].changes)
    if (change.kind == RecordedChange::Kind::kLoad && change.index == 1) change.value = 0.5;
  EXPECT_TRUE(has(of({{"source.panel.watts", 1}, {"resistance.case-ambient", -1}}),
                  "is determined: panel was never moved: step it alone. Kept"));
}

TEST_F(WordsTest, WhatWasRecordedForLongEnoughShowsThemTogether) {
  EXPECT_TRUE(has(of({{"node.chip.joules_per_kelvin", 0.5}, {"resistance.chip-case", -0.5}}),
                  "what is recorded shows them together alone: step cpu alone"));
}

TEST_F(WordsTest, HowLongARecordingIsAndWouldHaveToBeIsTold) {
  // From 5 to 104 s. The case and the chip together take 5 K/W times 42.5 J/K, and a little more.
  measured.misfit.stretches[0].rows[1].second = 100;
  const std::string told =
      of({{"node.case.joules_per_kelvin", 0.5}, {"resistance.case-ambient", -0.5}});
  EXPECT_TRUE(has(told, "the longest stretch, 99 s, is too short beside the slowest time constant, "
                        "about 21"))
      << told;
}

TEST_F(WordsTest, EachDirectionHasItsSentence) {
  Estimation estimation = fit_examples::estimationOf(measured);
  EXPECT_TRUE(inWords(measured.misfit, estimation).empty());
  estimation.undetermined = {{0, {0}, {1}, {1}}, {1, {1}, {1}, {1}}};
  const std::vector<std::string> sentences = inWords(measured.misfit, estimation);
  ASSERT_EQ(sentences.size(), 2U);
  EXPECT_TRUE(has(sentences[0], "Kept at its guess: node.chip.joules_per_kelvin"));
  EXPECT_TRUE(has(sentences[1], "Kept at its guess: node.case.joules_per_kelvin"));
}

} // namespace
