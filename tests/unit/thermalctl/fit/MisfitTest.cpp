#include "fit/Misfit.h"

#include <algorithm>
#include <cmath>
#include <optional>
#include <vector>

#include <gtest/gtest.h>

#include "thermalctl/fit/FitExamples.h"

namespace {

using Eigen::Index;
using Eigen::VectorXd;

constexpr char kAll[] = "\"node.*\", \"resistance.*\", \"source.*\", \"sensor.*\"";

class MisfitTest : public testing::Test {
protected:
  MisfitTest()
      : plant(fit_examples::plantOf()),
        quantities(fit_examples::quantitiesOf(kAll)), recordings{fit_examples::recorded()},
        misfit(plant, quantities, recordings, stretchesOf(recordings[0], 0, {0, 0})) {
    misfit.likelihoods = {{0.5, 0}, {0.5, 1}, {1, 0}, {1, 0}};
    values = VectorXd::Constant(static_cast<Index>(misfit.unknowns.count), 27);
    for (size_t i = 0; i < quantities.size(); ++i)
      values[static_cast<Index>(i)] =
          quantities[i].byLogarithm() ? std::log(quantities[i].guess) : 0.3;
    values[static_cast<Index>(misfit.unknowns.clocksBegin())] = 1.7;
  }

  const PlantDescription plant;
  const std::vector<Quantity> quantities;
  const std::vector<Recorded> recordings;
  Misfit misfit;
  VectorXd values;
};

TEST_F(MisfitTest, KnowsEveryKindOfQuantityTheClockAndTheStarts) {
  // Two capacities, two resistances, two watts, one idle power, one lag, two offsets.
  EXPECT_EQ(quantities.size(), 10U);
  // A clock; two nodes and a lagged sensor at the start.
  EXPECT_EQ(misfit.unknowns.count, 10U + 1U + 3U);
}

TEST_F(MisfitTest, SlopeIsThatOfTheMisfitByEachUnknown) {
  const MisfitEvidence evidence = misfit.evidence(values);
  EXPECT_NEAR(evidence.misfit, misfit.misfit(values), 1e-9 * evidence.misfit);
  for (Index i = 0; i < values.size(); ++i) {
    constexpr double kStep = 1e-5;
    VectorXd more = values;
    VectorXd less = values;
    more[i] += kStep;
    less[i] -= kStep;
    const double slope = (misfit.misfit(more) - misfit.misfit(less)) / (2 * kStep);
    const bool isClock = i == static_cast<Index>(misfit.unknowns.clocksBegin());
    EXPECT_NEAR(evidence.slope[i], slope, (isClock ? 1e-3 : 1e-5) * std::abs(slope) + 1e-3)
        << "of unknown " << i;
    EXPECT_NE(slope, 0) << "of unknown " << i;
  }
}

TEST_F(MisfitTest, ALagAsSlowAsAModeHasTheSameSlope) {
  // Alone, the case cools with 5 K/W times 40 J/K; the lag is set to whatever the modes are.
  PlantDescription alike = plant;
  alike.nodes[0].capacity = 1e-3;
  alike.probes[1].lag = 5 * 40.001;
  Misfit other(alike, quantities, recordings, stretchesOf(recordings[0], 0, {0, 0}));
  other.likelihoods = misfit.likelihoods;
  values[0] = std::log(1e-3);
  for (size_t i = 0; i < quantities.size(); ++i)
    if (quantities[i].kind == Quantity::Kind::kLag)
      values[static_cast<Index>(i)] = std::log(200.005);
  const MisfitEvidence evidence = other.evidence(values);
  for (Index i = 0; i < values.size(); ++i) {
    VectorXd more = values;
    VectorXd less = values;
    more[i] += 1e-4;
    less[i] -= 1e-4;
    const double slope = (other.misfit(more) - other.misfit(less)) / 2e-4;
    EXPECT_NEAR(evidence.slope[i], slope, 1e-3 * std::abs(slope) + 0.05) << "of unknown " << i;
  }
}

TEST_F(MisfitTest, OneOutputAloneAddsUpToAll) {
  const MisfitEvidence all = misfit.evidence(values);
  double sum = 0;
  for (size_t i = 0; i < misfit.outputs(); ++i) {
    misfit.only = i;
    sum += misfit.evidence(values).misfit;
  }
  EXPECT_NEAR(sum, all.misfit, 1e-9 * all.misfit);
}

// By central differences, of a fit of what `free` says.
void expectSlopes(const fit_examples::Measured& measured) {
  VectorXd values = measured.values;
  // Off the whole seconds, where loads change and rows stand.
  values[static_cast<Index>(measured.misfit.unknowns.clocksBegin())] = 0.37;
  const MisfitEvidence evidence = measured.misfit.evidence(values);
  for (Index i = 0; i < values.size(); ++i) {
    VectorXd more = values;
    VectorXd less = values;
    more[i] += 1e-4;
    less[i] -= 1e-4;
    const double slope = (measured.misfit.misfit(more) - measured.misfit.misfit(less)) / 2e-4;
    EXPECT_NEAR(evidence.slope[i], slope, 1e-3 * std::abs(slope) + 1e-2) << "of unknown " << i;
  }
}

TEST_F(MisfitTest, TheAmbientThatNothingMeasuredHasItsSlope) {
  fit_examples::Measured measured("\"ambient\", \"node.*\"");
  std::vector<RecordedChange>& changes = measured.recordings[0].files[0].changes;
  changes.erase(std::remove_if(changes.begin(), changes.end(),
                               [](const RecordedChange& change) {
                                 return change.kind == RecordedChange::Kind::kAmbient;
                               }),
                changes.end());
  fit_examples::measure(measured.recordings, measured.plant, {0, 0});
  measured.addToChip(0, 1000, 0.2);
  expectSlopes(measured);
  EXPECT_GT(std::abs(measured.misfit.evidence(measured.values).slope[2]), 10);
}

TEST_F(MisfitTest, TheAmbientThatWasMeasuredIsNoUnknown) {
  fit_examples::Measured measured("\"ambient\"");
  measured.addToChip(0, 1000, 0.2);
  EXPECT_EQ(measured.misfit.evidence(measured.values).slope[0], 0);
  expectSlopes(measured);
}

TEST_F(MisfitTest, WattsThatWereMeasuredHaveNoSlope) {
  fit_examples::Measured measured("\"source.*\", \"resistance.*\"");
  for (RecordedChange& change : measured.recordings[0].files[0].changes)
    if (change.kind == RecordedChange::Kind::kLoad && change.index == 0)
      change.kind = RecordedChange::Kind::kWatts;
  fit_examples::measure(measured.recordings, measured.plant, {0, 0});
  measured.addToChip(0, 1000, 0.2);
  expectSlopes(measured);
  const VectorXd slope = measured.misfit.evidence(measured.values).slope;
  for (size_t i = 0; i < measured.quantities.size(); ++i) {
    const Quantity& quantity = measured.quantities[i];
    if (quantity.kind == Quantity::Kind::kResistance || quantity.index != 0) continue;
    EXPECT_EQ(slope[static_cast<Index>(i)], 0) << quantity.name;
  }
}

TEST_F(MisfitTest, WithTheClocksKnownRowsBehindTheLoadsAreCutOff) {
  fit_examples::Measured measured;
  RecordedFile& loads = measured.recordings[0].files[0];
  loads.last = 1199;
  const Index clock = static_cast<Index>(measured.misfit.unknowns.clocksBegin());
  measured.values[clock] = 0.4;
  EXPECT_FALSE(measured.misfit.cutAgain(measured.values));
  measured.values[clock] = 20;
  EXPECT_TRUE(measured.misfit.cutAgain(measured.values));
  // Of the rows from 5 to 1199 s, up to 1180 and the second that a load holds.
  EXPECT_EQ(measured.misfit.stretches[0].rows[1], std::pair(size_t{0}, size_t{1175}));
  EXPECT_FALSE(measured.misfit.cutAgain(measured.values));
  // Nothing is left where a clock cannot be.
  measured.values[clock] = 1300;
  EXPECT_FALSE(measured.misfit.cutAgain(measured.values));
}

TEST_F(MisfitTest, TheTruthGoesBest) {
  fit_examples::Measured measured("\"node.*\", \"resistance.*\"");
  EXPECT_NEAR(measured.misfit.misfit(measured.values), 0, 1e-6);
  EXPECT_LT(measured.misfit.evidence(measured.values).slope.cwiseAbs().maxCoeff(), 1e-3);
}

TEST_F(MisfitTest, AFileWithoutReadingsAndChangesHasNoClock) {
  std::vector<Recorded> three = {fit_examples::recorded()};
  three[0].files.insert(three[0].files.begin() + 1, RecordedFile());
  const Unknowns unknowns(plant, quantities, three, stretchesOf(three[0], 0, {0, 0, 0}));
  EXPECT_EQ(unknowns.clocks[0],
            (std::vector<std::optional<size_t>>{std::nullopt, std::nullopt, 10}));
  EXPECT_EQ(unknowns.clocksEnd(), 11U);
  VectorXd all = VectorXd::Zero(static_cast<Index>(unknowns.count));
  all[10] = -2.5;
  EXPECT_EQ(unknowns.offsetsOf(0, all), (std::vector<double>{0, 0, -2.5}));
}

TEST_F(MisfitTest, EachRecordingHasItsClocksAndEachStretchItsStarts) {
  std::vector<Recorded> two = {fit_examples::recorded(), fit_examples::recorded()};
  two[1].files[0].gaps = {{100, 150}};
  const Misfit both = misfitOf(plant, quantities, two);
  ASSERT_EQ(both.stretches.size(), 3U);
  EXPECT_EQ(both.stretches[1].recording, 1U);
  EXPECT_EQ(both.unknowns.clocks[0][1], 10U);
  EXPECT_EQ(both.unknowns.clocks[1][1], 11U);
  EXPECT_EQ(both.unknowns.startsBegin, 12U);
  EXPECT_EQ(both.unknowns.count, 12U + 3U * 3U);
}

TEST_F(MisfitTest, KnowsTheStepsOfTheReadings) {
  std::vector<Recorded> rounded = {fit_examples::recorded()};
  for (Reading& reading : rounded[0].files[1].readings)
    if (reading.output == 1) reading.celsius = 25.1;
  const Misfit made = misfitOf(plant, quantities, rounded);
  ASSERT_EQ(made.likelihoods.size(), 4U);
  EXPECT_EQ(made.likelihoods[0].step, 1);
  EXPECT_EQ(made.likelihoods[1].step, 0.1);
  EXPECT_EQ(made.likelihoods[1].noise, 1);
}

TEST_F(MisfitTest, NaturalValuesAreThoseOfThePlantFile) {
  const std::vector<double> natural = misfit.naturalOf(values);
  ASSERT_EQ(natural.size(), quantities.size());
  for (size_t i = 0; i < quantities.size(); ++i)
    EXPECT_NEAR(natural[i], quantities[i].byLogarithm() ? quantities[i].guess : 0.3, 1e-12)
        << quantities[i].name;
}

TEST_F(MisfitTest, EveryResidualHasItsReadingAndItsPlace) {
  const std::vector<ReadingRow>& rows = recordings[0].files[1].rows;
  size_t count = 0;
  misfit.eachResidual(values, [&](const Residual& residual) {
    EXPECT_EQ(residual.stretch, 0U);
    EXPECT_EQ(residual.file, 1U);
    EXPECT_EQ(residual.row, &rows[count / 2]);
    EXPECT_EQ(residual.reading.output, count % 2);
    EXPECT_EQ(residual.reading.celsius, count % 2 == 0 ? 30 : 25);
    ++count;
  });
  EXPECT_EQ(count, 2 * rows.size());
}

TEST_F(MisfitTest, OfTheRowsEveryStridethCounts) {
  std::vector<const ReadingRow*> all;
  std::vector<const ReadingRow*> some;
  const auto rowsInto = [&](std::vector<const ReadingRow*>& rows) {
    misfit.eachResidual(values, [&](const Residual& residual) {
      if (residual.reading.output == 0) rows.push_back(residual.row);
    });
  };
  rowsInto(all);
  misfit.stride = 7;
  rowsInto(some);
  ASSERT_EQ(some.size(), (all.size() + 6) / 7);
  for (size_t i = 0; i < some.size(); ++i)
    EXPECT_EQ(some[i], all[7 * i]) << i;
}

TEST_F(MisfitTest, OneRecordingAloneCountsWhereItIsAskedFor) {
  std::vector<Recorded> two = {fit_examples::recorded(), fit_examples::recorded()};
  for (Reading& reading : two[1].files[1].readings)
    reading.celsius += 3;
  Misfit both = misfitOf(plant, quantities, two);
  both.likelihoods = misfit.likelihoods;
  VectorXd at = VectorXd::Constant(static_cast<Index>(both.unknowns.count), 27);
  at.head(10) = values.head(10);
  at.segment(10, 2).setConstant(1.7);
  const double first = both.misfit(at, 0);
  EXPECT_NEAR(first, misfit.misfit(values), 1e-9 * first);
  EXPECT_NEAR(first + both.misfit(at, 1), both.misfit(at), 1e-9 * first);
  EXPECT_GT(std::abs(both.misfit(at, 1) - first), 1);
  size_t others = 0;
  both.eachResidual(
      at, [&](const Residual& residual) { others += residual.stretch == 1 ? 0 : 1; }, 1);
  EXPECT_EQ(others, 0U);
}

TEST_F(MisfitTest, AnotherNoiseIsTakenUp) {
  const double before = misfit.misfit(values);
  misfit.likelihoods[0].noise = 0.25;
  EXPECT_GT(misfit.misfit(values), before);
  misfit.likelihoods[0].noise = 0.5;
  EXPECT_EQ(misfit.misfit(values), before);
}

TEST_F(MisfitTest, OtherValuesHaveAnotherModel) {
  VectorXd other = values;
  other[0] += 0.5;
  const double before = misfit.misfit(values);
  EXPECT_NE(misfit.misfit(other), before);
  EXPECT_EQ(misfit.misfit(values), before);
}

} // namespace
