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
  std::string of(const std::vector<std::pair<std::string, double>>& changes) {
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
      "\"node.*\", \"resistance.*\", \"source.*\", \"sensor.*\", \"ambient\""};
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

} // namespace
