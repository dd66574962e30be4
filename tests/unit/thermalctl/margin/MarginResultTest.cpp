#include "margin/MarginResult.h"

#include <algorithm>
#include <cmath>
#include <numeric>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "margin/Special.h"
#include "thermalctl/support/MarginExample.h"

namespace {

constexpr char kPeak[] = "temperatures.cpu.peak";
constexpr char kVerdict[] = "budgets.cpu=43C.verdict";
constexpr int32_t kPassed = 1;
constexpr int32_t kUnjudged = 2;

MarginStudy limited() {
  return marginStudy({marginRun("run", {"cpu=43C"})});
}

// With these verdicts.
std::vector<MarginFigures> judged(const std::vector<int32_t>& verdicts) {
  std::vector<MarginFigures> units;
  units.reserve(verdicts.size());
  for (const int32_t verdict : verdicts)
    units.push_back({{kVerdict, verdict}});
  return units;
}

std::vector<MarginFigures> withPeaks(const std::vector<int32_t>& peaks) {
  std::vector<MarginFigures> units;
  units.reserve(peaks.size());
  for (const int32_t peak : peaks)
    units.push_back({{kPeak, peak}});
  return units;
}

std::vector<std::pair<uint64_t, int32_t>>
unitsAndValues(const std::vector<MarginResult::Worst>& worst) {
  std::vector<std::pair<uint64_t, int32_t>> all;
  all.reserve(worst.size());
  for (const MarginResult::Worst& each : worst)
    all.emplace_back(each.unit, each.value);
  return all;
}

// What the drivers of a unit are drawn to be.
std::vector<double> driversOf(const MarginStudy& study, uint64_t unit) {
  return standardNumbers(study.seed, unit, Stream::kUnit, study.drivers.size());
}

const MarginResult::Figure& peakOf(const MarginResult& result) {
  return result.runs[0].figures[0];
}

TEST(MarginResultTest, UnitsAreCountedByWhatCameOfThem) {
  const MarginResult result =
      marginResult(limited(), judged({0, kPassed, kUnjudged, kPassed, 0, 0}));
  ASSERT_EQ(result.runs.size(), 1U);
  const MarginResult::Budgeted& budget = result.runs[0].budgets.at(0);
  EXPECT_EQ(budget.kept, 3U);
  EXPECT_EQ(budget.broken, 2U);
  EXPECT_EQ(budget.unjudged, 1U);
  EXPECT_EQ(budget.units(), 6U);
  EXPECT_EQ(budget.keeping.low, shareOf(3, 6, 0.95).low);
  EXPECT_EQ(budget.keeping.high, shareOf(3, 6, 0.95).high);
  EXPECT_EQ(result.units.first, 1U);
  EXPECT_EQ(result.units.end, 7U);
}

TEST(MarginResultTest, TheTenWorstUnitsAreToldTheHottestFirstAndTheEarlierOfEqualOnes) {
  const MarginResult result =
      marginResult(limited(), withPeaks({41'000, 45'000, kUnseen, 30'000, 45'000, 31'000, 46'000,
                                         32'000, 33'000, 34'000, 30'000, 35'000, 31'000}));
  const std::vector<std::pair<uint64_t, int32_t>> expected = {
      {7, 46'000},  {2, 45'000}, {5, 45'000}, {1, 41'000}, {12, 35'000},
      {10, 34'000}, {9, 33'000}, {8, 32'000}, {6, 31'000}, {13, 31'000}};
  EXPECT_EQ(unitsAndValues(result.runs[0].budgets[0].worst), expected);
  EXPECT_TRUE(result.runs[0].hottest.empty());
}

TEST(MarginResultTest, OneThatIsNoWorseThanTheTenthDoesNotTakeItsPlace) {
  std::vector<int32_t> peaks(11, 40'000);
  EXPECT_EQ(marginResult(limited(), withPeaks(peaks)).runs[0].budgets[0].worst.back().unit, 10U);
  peaks.back() = 40'001;
  const auto worst = marginResult(limited(), withPeaks(peaks)).runs[0].budgets[0].worst;
  EXPECT_EQ(worst.front().unit, 11U);
  EXPECT_EQ(worst.back().unit, 9U);
}

TEST(MarginResultTest, OfWorkTheLeastIsTheWorst) {
  const MarginStudy study = marginStudy({marginRun("run", {"work:gpu=75%"})});
  const std::string work = "sources.gpu.work_percent";
  const MarginResult result = marginResult(
      study, {{{work, 80'000'000}}, {{work, 60'000'000}}, {{work, kUnseen}}, {{work, 99'000'000}}});
  EXPECT_EQ(unitsAndValues(result.runs[0].budgets[0].worst),
            (std::vector<std::pair<uint64_t, int32_t>>{
                {2, 60'000'000}, {1, 80'000'000}, {4, 99'000'000}}));
}

TEST(MarginResultTest, WithoutALimitTheHottestAreThoseOfTheFirstSensor) {
  const MarginResult result =
      marginResult(marginStudy({marginRun("run", {})}), withPeaks({30'000, 50'000, 40'000}));
  EXPECT_TRUE(result.runs[0].budgets.empty());
  EXPECT_EQ(unitsAndValues(result.runs[0].hottest),
            (std::vector<std::pair<uint64_t, int32_t>>{{2, 50'000}, {3, 40'000}, {1, 30'000}}));
}

TEST(MarginResultTest, UnitsWhoseDaemonStoodStillAreCounted) {
  const std::string stood = "stood_still_s";
  const MarginResult result =
      marginResult(limited(), {{{stood, 0}}, {{stood, kUnseen}}, {{stood, 5000}}});
  EXPECT_EQ(result.runs[0].stoodStill, 2U);
}

TEST(MarginResultTest, AWorstUnitHasItsOwnNumbersAsTheyAreCorrelated) {
  MarginStudy study = limited();
  study.factor = {1, 0, 0.6, 0.8};
  MarginRows rows(study);
  MarginRows none(study);
  rows.addEach(withPeaks({30'000, 50'000}));
  const MarginResult result = resultOf(study, 41, rows.rows(), none.rows(), std::nullopt);
  EXPECT_EQ(result.units.first, 41U);
  EXPECT_EQ(result.units.end, 43U);
  const MarginResult::Worst& worst = result.runs[0].budgets[0].worst[0];
  EXPECT_EQ(worst.unit, 42U);
  EXPECT_EQ(worst.numbers, correlated(driversOf(study, 42), study.factor));
}

TEST(MarginResultTest, HowManyHadNotKeptItIsToldFromTenUnitsOnAndAtTheEnd) {
  const auto looksOf = [](size_t units) {
    std::vector<int32_t> verdicts(units);
    // The third, the eleventh and the last but one.
    for (const size_t broken : {size_t{3}, size_t{11}, units - 1})
      if (broken <= units && broken > 0) verdicts[broken - 1] = kPassed;
    std::vector<std::pair<uint64_t, uint64_t>> looks;
    const MarginResult result = marginResult(limited(), judged(verdicts));
    for (const MarginResult::Look& look : result.runs[0].budgets[0].convergence)
      looks.emplace_back(look.units, look.notKept);
    return looks;
  };
  using Looks = std::vector<std::pair<uint64_t, uint64_t>>;
  EXPECT_EQ(looksOf(1), (Looks{{1, 0}}));
  EXPECT_EQ(looksOf(10), (Looks{{10, 2}}));
  EXPECT_EQ(looksOf(30), (Looks{{10, 1}, {12, 2}, {15, 2}, {19, 2}, {24, 2}, {30, 3}}));
}

TEST(MarginResultTest, WhatNobodyKnowsOfIsNotKept) {
  const MarginResult result = marginResult(limited(), judged({0, kUnjudged, kPassed}));
  EXPECT_EQ(result.runs[0].budgets[0].convergence.back().notKept, 2U);
}

TEST(MarginResultTest, WhatTheBrokenHaveInCommonIsTheMeanOfTheirNumbers) {
  const MarginStudy study = limited();
  const MarginResult result = marginResult(study, judged({0, kPassed, kUnjudged, kPassed}));
  const std::vector<double>& common = result.runs[0].budgets[0].common;
  ASSERT_EQ(common.size(), 2U);
  for (size_t i = 0; i < 2; ++i)
    EXPECT_DOUBLE_EQ(common[i], (driversOf(study, 2)[i] + driversOf(study, 4)[i]) / 2);
  EXPECT_TRUE(marginResult(study, judged({0, kUnjudged})).runs[0].budgets[0].common.empty());
}

TEST(MarginResultTest, AFigureIsSpreadOverThoseInWhichItWasSeen) {
  const MarginResult result =
      marginResult(limited(), withPeaks({41'000, kUnseen, 43'000, 45'000, 43'000}));
  const MarginResult::Figure& peak = peakOf(result);
  EXPECT_EQ(peak.measure, 0U);
  EXPECT_EQ(peak.units, 4U);
  EXPECT_DOUBLE_EQ(peak.mean, 43'000);
  EXPECT_EQ(peak.least, 41'000);
  EXPECT_EQ(peak.most, 45'000);
  EXPECT_EQ(peak.percentiles.size(), kPercentiles.size());
  EXPECT_EQ(peak.percentiles[3], 43'000);
  EXPECT_EQ(peak.histogram.size(), 60U);
  EXPECT_EQ(peak.histogram.front(), 1U);
  EXPECT_EQ(peak.histogram.back(), 1U);
  EXPECT_EQ(std::accumulate(peak.histogram.begin(), peak.histogram.end(), uint64_t{0}), 4U);
  // A verdict is no figure: the two peaks, the changes, the work, the standstill and the time
  // above.
  std::vector<size_t> measures;
  for (const MarginResult::Figure& figure : result.runs[0].figures)
    measures.push_back(figure.measure);
  EXPECT_EQ(measures, (std::vector<size_t>{0, 1, 2, 3, 4, 6}));
}

TEST(MarginResultTest, OfWhatWasNeverSeenNothingIsTold) {
  const MarginResult::Figure none = peakOf(marginResult(limited(), withPeaks({kUnseen, kUnseen})));
  EXPECT_EQ(none.units, 0U);
  EXPECT_TRUE(none.percentiles.empty());
  EXPECT_TRUE(none.histogram.empty());
  EXPECT_TRUE(none.correlations.empty());
}

// Units whose peak follows a driver.
std::vector<MarginFigures> following(const MarginStudy& study, size_t driver, double factor,
                                     size_t units) {
  std::vector<int32_t> peaks;
  for (uint64_t unit = 1; unit <= units; ++unit)
    peaks.push_back(static_cast<int32_t>(40'000 + factor * driversOf(study, unit)[driver]));
  return withPeaks(peaks);
}

TEST(MarginResultTest, AFigureThatFollowsADriverIsCorrelatedWithIt) {
  const MarginStudy study = limited();
  for (const double sign : {1.0, -1.0}) {
    const MarginResult result = marginResult(study, following(study, 1, 1000 * sign, 200));
    const std::vector<Known>& correlations = peakOf(result).correlations;
    ASSERT_EQ(correlations.size(), 2U);
    EXPECT_NEAR(correlations[1].value, sign, 0.01);
    EXPECT_LE(correlations[1].interval.low, correlations[1].value);
    EXPECT_GE(correlations[1].interval.high, correlations[1].value);
    EXPECT_LE(std::max(-correlations[1].interval.low, correlations[1].interval.high), 1);
    EXPECT_LT(std::abs(correlations[0].value), 0.25);
    // The other figures do not vary.
    EXPECT_TRUE(result.runs[0].figures[1].correlations.empty());
  }
}

TEST(MarginResultTest, ACorrelationIsThatOfTheRanksWithItsInterval) {
  const MarginStudy study = limited();
  const std::vector<int32_t> peaks = {44'000, 41'000, 47'000, 42'000, 45'000, 46'000};
  const double ranks[] = {2.5 / 6, 0.5 / 6, 5.5 / 6, 1.5 / 6, 3.5 / 6, 4.5 / 6};
  double grades[6];
  double mean = 0;
  for (uint64_t unit = 1; unit <= 6; ++unit) {
    grades[unit - 1] = normalProbability(driversOf(study, unit)[0]);
    mean += grades[unit - 1] / 6;
  }
  double together = 0;
  double squares[2] = {};
  for (size_t i = 0; i < 6; ++i) {
    together += (ranks[i] - 0.5) * (grades[i] - mean);
    squares[0] += (ranks[i] - 0.5) * (ranks[i] - 0.5);
    squares[1] += (grades[i] - mean) * (grades[i] - mean);
  }
  const double exact = together / std::sqrt(squares[0] * squares[1]);
  const Known known = peakOf(marginResult(study, withPeaks(peaks))).correlations.at(0);
  EXPECT_NEAR(known.value, exact, 1e-6);
  // Of six units the logarithmic scale's variance is a third of 1 and half the square.
  const double half = 1.959964 * std::sqrt((1 + exact * exact / 2) / 3);
  EXPECT_NEAR(known.interval.low, std::tanh(std::atanh(exact) - half), 1e-5);
  EXPECT_NEAR(known.interval.high, std::tanh(std::atanh(exact) + half), 1e-5);
}

TEST(MarginResultTest, ThreeUnitsTellNoCorrelation) {
  const MarginStudy study = limited();
  EXPECT_TRUE(peakOf(marginResult(study, following(study, 0, 1000, 3))).correlations.empty());
  EXPECT_EQ(peakOf(marginResult(study, following(study, 0, 1000, 4))).correlations.size(), 2U);
  // Nor do four of which one was not seen.
  std::vector<MarginFigures> units = following(study, 0, 1000, 4);
  units[2][kPeak] = kUnseen;
  EXPECT_TRUE(peakOf(marginResult(study, units)).correlations.empty());
}

TEST(MarginResultTest, UnitsWithTheSameValueOfAListHaveTheSameRank) {
  MarginStudy study = limited();
  std::vector<int32_t> peaks;
  for (uint64_t unit = 1; unit <= 60; ++unit)
    peaks.push_back(driversOf(study, unit)[0] > 0 ? 42'000 : 41'000);
  EXPECT_LT(peakOf(marginResult(study, withPeaks(peaks))).correlations[0].value, 0.95);
  study.drivers[0].steps = {0.5, 1};
  EXPECT_NEAR(peakOf(marginResult(study, withPeaks(peaks))).correlations[0].value, 1, 1e-6);
}

TEST(MarginResultTest, EachRunHasItsOwnFigures) {
  const MarginStudy study =
      marginStudy({marginRun("first", {"cpu=43C"}), marginRun("second", {"cpu=43C"})});
  MarginRows rows(study);
  MarginRows none(study);
  rows.add({{}, {{kPeak, 44'000}, {kVerdict, kPassed}}});
  rows.add({{{kPeak, 30'000}}, {}});
  const MarginResult result = resultOf(study, 1, rows.rows(), none.rows(), std::nullopt);
  ASSERT_EQ(result.runs.size(), 2U);
  EXPECT_EQ(result.runs[0].budgets[0].broken, 0U);
  EXPECT_EQ(result.runs[1].budgets[0].broken, 1U);
  EXPECT_EQ(result.runs[0].figures[0].least, 30'000);
  EXPECT_EQ(result.runs[1].figures[0].most, 44'000);
  EXPECT_EQ(result.runs[1].figures[0].least, 40'000);
}

// Samples whose peak is a function of the drivers.
class MarginSamples {
public:
  explicit MarginSamples(const MarginStudy& study_) : study(study_), rows(study_) {}

  template <typename Function> void add(uint64_t number, const Function& peak) {
    const std::vector<double> unit = driversOf(study, number);
    const std::vector<double> other =
        standardNumbers(study.seed, number, Stream::kOther, study.drivers.size());
    addOne(peak(unit));
    addOne(peak(other));
    for (const std::vector<size_t>& part : study.independent) {
      std::vector<double> mixed = unit;
      for (const size_t driver : part)
        mixed[driver] = other[driver];
      addOne(peak(mixed));
    }
  }
  void addOne(int32_t peak) { rows.add({{{kPeak, peak}}}); }

  MarginResult result() {
    MarginRows units(study);
    units.addEach(withPeaks({40'000, 40'500}));
    return resultOf(study, 1, units.rows(), rows.rows(), std::nullopt);
  }

private:
  const MarginStudy& study;
  MarginRows rows;
};

int32_t ofTheSecond(const std::vector<double>& drivers) {
  return static_cast<int32_t>(40'000 + 1000 * drivers[1]);
}

TEST(MarginResultTest, WhatOneDriverDecidesIsAllOfTheVariance) {
  const MarginStudy study = limited();
  MarginSamples samples(study);
  for (uint64_t number = 1; number <= 150; ++number)
    samples.add(number, ofTheSecond);
  const MarginResult result = samples.result();
  EXPECT_EQ(result.samples, 150U);
  const std::vector<SobolIndex>& indices = peakOf(result).sobol;
  ASSERT_EQ(indices.size(), 2U);
  EXPECT_EQ(indices[0].first.value, 0);
  EXPECT_EQ(indices[0].total.value, 0);
  EXPECT_NEAR(indices[1].first.value, 1, 0.25);
  EXPECT_NEAR(indices[1].total.value, 1, 0.25);
  EXPECT_TRUE(result.runs[0].figures[1].sobol.empty());
}

TEST(MarginResultTest, ASampleInWhichItWasNotSeenDoesNotCount) {
  const MarginStudy study = limited();
  MarginSamples plain(study);
  MarginSamples more(study);
  for (MarginSamples* const samples : {&plain, &more})
    for (uint64_t number = 1; number <= 20; ++number)
      samples->add(number, ofTheSecond);
  for (const int32_t peak : {90'000, 10'000, kUnseen, 70'000})
    more.addOne(peak);
  EXPECT_EQ(more.result().samples, 21U);
  const std::vector<SobolIndex> one = peakOf(plain.result()).sobol;
  const std::vector<SobolIndex> other = peakOf(more.result()).sobol;
  ASSERT_EQ(one.size(), other.size());
  for (size_t i = 0; i < one.size(); ++i) {
    EXPECT_EQ(one[i].first.value, other[i].first.value);
    EXPECT_EQ(one[i].total.interval.high, other[i].total.interval.high);
  }
}

// Eleven rows make a sample here, and a block holds no whole number of these.
TEST(MarginResultTest, ASampleMayLieInTwoBlocks) {
  MarginStudy study = limited();
  study.drivers.resize(9);
  study.independent = {{0}, {1}, {2}, {3}, {4}, {5}, {6}, {7}, {8}};
  MarginSamples samples(study);
  constexpr uint64_t kSamples = UnitRows::kBlock / 11 + 2;
  for (uint64_t number = 1; number <= kSamples; ++number)
    samples.add(number, ofTheSecond);
  const MarginResult result = samples.result();
  EXPECT_EQ(result.samples, kSamples);
  const std::vector<SobolIndex>& indices = peakOf(result).sobol;
  ASSERT_EQ(indices.size(), 9U);
  for (size_t i = 0; i < indices.size(); ++i)
    EXPECT_NEAR(indices[i].total.value, i == 1 ? 1 : 0, i == 1 ? 0.2 : 0) << i;
}

const Question kTenPercent{0.1, 0.8};

TEST(MarginResultTest, AQuestionIsAnsweredBehindTheUnitThatSettlesIt) {
  const MarginStudy study = limited();
  for (const bool isKept : {true, false}) {
    MarginRows rows(study);
    MarginRows none(study);
    Answering answering(study, kTenPercent);
    const std::vector<MarginFigures> figures = {{{kVerdict, isKept ? 0 : kPassed}}};
    uint64_t units = 0;
    for (bool isAnswered = false; !isAnswered; ++units) {
      ASSERT_LT(units, 1000U);
      rows.add(figures);
      isAnswered = answering.isAnsweredBy(rows.rowOf(figures));
    }
    EXPECT_TRUE(kTenPercent.isAnswered(isKept ? 0 : units, units));
    rows.add(figures);
    const MarginResult result = resultOf(study, 101, rows.rows(), none.rows(), kTenPercent);
    ASSERT_TRUE(result.runs[0].budgets[0].answeredAt);
    EXPECT_EQ(*result.runs[0].budgets[0].answeredAt, 100 + units);
    EXPECT_EQ(result.runs[0].budgets[0].isAtMost, isKept);
    EXPECT_EQ(result.answer(),
              isKept ? MarginResult::Answer::kKept : MarginResult::Answer::kBroken);
  }
}

TEST(MarginResultTest, OneThatNobodyJudgedCountsAgainstTheLimit) {
  const MarginStudy study = limited();
  const MarginRows rows(study);
  Answering answering(study, kTenPercent);
  uint64_t units = 1;
  while (!answering.isAnsweredBy(rows.rowOf({{{kVerdict, kUnjudged}}})))
    ASSERT_LT(++units, 1000U);
  EXPECT_FALSE(kTenPercent.isAtMost(units, units));
  EXPECT_TRUE(kTenPercent.isAnswered(units, units));
}

// The first limit's answer stands, although what comes behind it would leave it open.
TEST(MarginResultTest, AllLimitsMustBeAnsweredEachOnce) {
  const MarginStudy study =
      marginStudy({marginRun("run", {"cpu=43C"}), marginRun("other", {"cpu=43C"})});
  const MarginRows rows(study);
  Answering answering(study, kTenPercent);
  uint64_t units = 0;
  while (!kTenPercent.isAnswered(0, ++units))
    EXPECT_FALSE(answering.isAnsweredBy(rows.rowOf({{}, {{kVerdict, units == 2 ? kPassed : 0}}})));
  EXPECT_FALSE(answering.isAnsweredBy(rows.rowOf({{}, {}})));
  ASSERT_FALSE(kTenPercent.isAnswered(1, units));
  uint64_t bad = 0;
  do {
    ++units;
    ++bad;
    ASSERT_LT(bad, 1000U);
  } while (!answering.isAnsweredBy(
      rows.rowOf({{{kVerdict, bad < 3 ? kPassed : 0}}, {{kVerdict, kPassed}}})));
  EXPECT_FALSE(kTenPercent.isAnswered(std::min<uint64_t>(bad, 2), units));
  EXPECT_TRUE(kTenPercent.isAnswered(bad + 1, units));
}

TEST(MarginResultTest, WithoutAQuestionOrALimitNothingIsAnswered) {
  const MarginStudy study = limited();
  const MarginRows rows(study);
  Answering unasked(study, std::nullopt);
  const MarginStudy free = marginStudy({marginRun("run", {})});
  const MarginRows freeRows(free);
  Answering unlimited(free, kTenPercent);
  for (size_t unit = 0; unit < 200; ++unit) {
    ASSERT_FALSE(unasked.isAnsweredBy(rows.rowOf({})));
    ASSERT_FALSE(unlimited.isAnsweredBy(freeRows.rowOf({})));
  }
}

TEST(MarginResultTest, WhatIsSaidOfALimit) {
  using Answer = MarginResult::Answer;
  const struct {
    bool isAsked;
    uint64_t broken, unjudged;
    bool isAnswered, isAtMost;
    Answer answer;
  } cases[] = {
      {false, 0, 0, false, false, Answer::kKept},   {false, 1, 0, false, false, Answer::kBroken},
      {false, 1, 1, false, false, Answer::kBroken}, {false, 0, 1, false, false, Answer::kOpen},
      {true, 0, 0, false, false, Answer::kOpen},    {true, 5, 0, true, true, Answer::kKept},
      {true, 5, 0, true, false, Answer::kBroken},   {true, 0, 1, true, true, Answer::kOpen}};
  for (const auto& each : cases) {
    MarginResult result;
    if (each.isAsked) result.question = kTenPercent;
    MarginResult::Budgeted budget;
    budget.kept = 7;
    budget.broken = each.broken;
    budget.unjudged = each.unjudged;
    if (each.isAnswered) budget.answeredAt = 12;
    budget.isAtMost = each.isAtMost;
    EXPECT_EQ(result.answerTo(budget), each.answer)
        << each.isAsked << " " << each.broken << " " << each.unjudged;
  }
}

TEST(MarginResultTest, OfAllLimitsTheWorstIsSaidAndWhatIsOpenBeforeThat) {
  using Answer = MarginResult::Answer;
  MarginResult::Budgeted kept, broken, open;
  broken.broken = 1;
  open.unjudged = 1;
  const auto answerOf = [](const std::vector<MarginResult::Budgeted>& one,
                           const std::vector<MarginResult::Budgeted>& other) {
    MarginResult result;
    result.runs.resize(2);
    result.runs[0].budgets = one;
    result.runs[1].budgets = other;
    return result.answer();
  };
  EXPECT_EQ(answerOf({kept}, {kept, kept}), Answer::kKept);
  EXPECT_EQ(answerOf({broken}, {kept}), Answer::kBroken);
  EXPECT_EQ(answerOf({kept}, {kept, broken}), Answer::kBroken);
  EXPECT_EQ(answerOf({broken}, {open, kept}), Answer::kOpen);
  EXPECT_EQ(answerOf({}, {}), Answer::kKept);
}

TEST(MarginResultTest, WithoutALimitAStandstillLeavesItOpen) {
  MarginResult result;
  result.runs.resize(2);
  result.runs[1].stoodStill = 1;
  EXPECT_EQ(result.answer(), MarginResult::Answer::kOpen);
  // A limit has said it already.
  result.runs[1].budgets.resize(1);
  EXPECT_EQ(result.answer(), MarginResult::Answer::kKept);
}

TEST(MarginResultTest, DriversThatGoTogetherAreEnumerated) {
  const MarginStudy study = limited();
  EXPECT_EQ(partName(study, {1}), "sensor.cpu.offset");
  EXPECT_EQ(partName(study, {0, 1}), "resistance.die-ambient and sensor.cpu.offset");
}

} // namespace
