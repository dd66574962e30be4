#include "margin/Chances.h"

#include <cmath>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "margin/Population.h"

namespace {

// How likely `like` of `count` are, for a share.
double chance(uint64_t like, uint64_t count, double share) {
  const auto k = static_cast<double>(like);
  const auto n = static_cast<double>(count);
  const auto logFactorial = [](double number) {
    int sign = 0;
    return ::lgamma_r(number + 1, &sign);
  };
  return std::exp(logFactorial(n) - logFactorial(k) - logFactorial(n - k) + k * std::log(share) +
                  (n - k) * std::log1p(-share));
}

TEST(ChancesTest, TheEndsOfAnIntervalAreWhereTheTailsHaveTwoAndAHalfPerCent) {
  for (const uint64_t like : {1U, 7U, 30U, 59U}) {
    const Interval interval = shareOf(like, 60, 0.95);
    double below = 0;
    double above = 0;
    for (uint64_t i = 0; i <= 60; ++i) {
      if (i <= like) below += chance(i, 60, interval.high);
      if (i >= like) above += chance(i, 60, interval.low);
    }
    EXPECT_NEAR(below, 0.025, 1e-9) << like;
    EXPECT_NEAR(above, 0.025, 1e-9) << like;
  }
}

TEST(ChancesTest, NoneOfAllIsNeverNothing) {
  EXPECT_EQ(shareOf(0, 10'000, 0.95).low, 0);
  EXPECT_NEAR(shareOf(0, 10'000, 0.95).high, 0.0002995, 1e-7);
  EXPECT_NEAR(shareOf(10'000, 10'000, 0.95).low, 1 - 0.0002995, 1e-7);
  EXPECT_EQ(shareOf(10'000, 10'000, 0.95).high, 1);
  EXPECT_EQ(shareOf(0, 0, 0.95).high, 1);
}

// Exactly, over all that may come: at least 95 %, and less than is worth telling more.
TEST(ChancesTest, AnIntervalHoldsTheTruthAsOftenAsItSays) {
  for (const double share : {0.02, 0.3, 0.5, 0.93}) {
    double holds = 0;
    for (uint64_t like = 0; like <= 400; ++like) {
      const Interval interval = shareOf(like, 400, 0.95);
      if (interval.low <= share && share <= interval.high) holds += chance(like, 400, share);
    }
    EXPECT_GE(holds, 0.95) << share;
    EXPECT_LE(holds, 0.985) << share;
  }
}

// How many units it takes until the question is answered; the answer by its sign, 0 without one.
int64_t unitsUntilAnswered(const Question& question, double share, uint64_t seed, uint64_t most) {
  uint64_t bad = 0;
  for (uint64_t unit = 1; unit <= most; ++unit) {
    const uint32_t word = randomWords(seed, unit, Stream::kUnit, 1).front();
    bad += word < share * 0x1p32 ? 1 : 0;
    if (question.isAnswered(bad, unit))
      return question.isAtMost(bad, unit) ? static_cast<int64_t>(unit)
                                          : -static_cast<int64_t>(unit);
  }
  return 0;
}

TEST(ChancesTest, AQuestionIsAnsweredEitherWay) {
  const Question question{0.05, 0.95};
  for (uint64_t seed = 1; seed <= 20; ++seed) {
    EXPECT_GT(unitsUntilAnswered(question, 0.01, seed, 5000), 0);
    EXPECT_LT(unitsUntilAnswered(question, 0.2, seed, 5000), 0);
  }
  // None of them needs more than a plain bound would, but for what it costs to look all the time.
  const Question rare{0.001, 0.95};
  uint64_t units = 1;
  while (!rare.isAnswered(0, units))
    ++units;
  EXPECT_TRUE(rare.isAtMost(0, units));
  EXPECT_GE(units, 2995U);
  EXPECT_LE(units, 4500U);
}

// A share of just what is asked is neither: any answer is wrong, and comes in 5 % of all cases at
// most, though it was looked at behind every unit.
TEST(ChancesTest, LookingBehindEveryUnitMakesNoAnswerUp) {
  const Question question{0.05, 0.95};
  int answered = 0;
  constexpr int kRuns = 400;
  for (uint64_t seed = 1; seed <= kRuns; ++seed)
    answered += unitsUntilAnswered(question, 0.05, seed, 1500) == 0 ? 0 : 1;
  // 5 % and three deviations.
  EXPECT_LE(answered, kRuns * 0.05 + 3 * std::sqrt(kRuns * 0.05 * 0.95));
}

TEST(ChancesTest, AQuestionIsRead) {
  const QuestionText read = readQuestion("share<=0.1%@95%");
  ASSERT_TRUE(read.question);
  EXPECT_DOUBLE_EQ(read.question->share, 0.001);
  EXPECT_DOUBLE_EQ(read.question->confidence, 0.95);
  EXPECT_EQ(readQuestion("0.1%").wrong, "is no question");
  EXPECT_EQ(readQuestion("share<=0.1%").wrong, "is no question");
  EXPECT_EQ(readQuestion("share<=0%@95%").wrong, "the share must lie between 0 and 100 %");
  EXPECT_EQ(readQuestion("share<=0.001@95%").wrong, "the share must lie between 0 and 100 %");
  EXPECT_EQ(readQuestion("share<=1%@100%").wrong,
            "how sure the answer is must lie from 50 to below 100 %");
}

TEST(ChancesTest, AQuestionsEndsAreThoseOfShares) {
  for (const char* text : {"share<=0.1%@50%", "share<=99.9%@99.9%", "share<=1e-3%@95%"})
    EXPECT_TRUE(readQuestion(text).question) << text;
  const std::string share = "the share must lie between 0 and 100 %";
  const std::string sure = "how sure the answer is must lie from 50 to below 100 %";
  const std::pair<const char*, std::string> cases[] = {{"share<0.1%@95%", "is no question"},
                                                       {"", "is no question"},
                                                       {"Share<=0.1%@95%", "is no question"},
                                                       {"share<=100%@95%", share},
                                                       {"share<=-1%@95%", share},
                                                       {"share<=%@95%", share},
                                                       {"share<=0.1%@49.9%", sure},
                                                       {"share<=0.1%@95", sure},
                                                       {"share<=0.1%@", sure},
                                                       {"share<=0.1%@9 5%", sure}};
  for (const auto& [text, wrong] : cases) {
    const QuestionText read = readQuestion(text);
    EXPECT_FALSE(read.question) << text;
    EXPECT_EQ(read.wrong, wrong) << text;
    EXPECT_EQ(read.hint, "write 'share<=0.1%@95%', in quotes for the shell") << text;
  }
}

TEST(ChancesTest, NoUnitAnswersNothingAndTheShareItselfIsAtMostIt) {
  const Question question{0.25, 0.9};
  EXPECT_FALSE(question.isAnswered(0, 0));
  EXPECT_TRUE(question.isAtMost(1, 4));
  EXPECT_FALSE(question.isAtMost(2, 7));
  EXPECT_TRUE(question.isAtMost(0, 1));
}

TEST(ChancesTest, WhoeverWantsToBeSurerNeedsMoreUnits) {
  const auto unitsFor = [](double share, double confidence) {
    uint64_t units = 1;
    while (!Question{share, confidence}.isAnswered(0, units))
      ++units;
    return units;
  };
  EXPECT_LT(unitsFor(0.1, 0.8), unitsFor(0.1, 0.95));
  EXPECT_LT(unitsFor(0.1, 0.95), unitsFor(0.05, 0.95));
}

TEST(ChancesTest, OneUnitIsKnownOnOneSideAlone) {
  EXPECT_DOUBLE_EQ(shareOf(0, 1, 0.95).high, 0.95);
  EXPECT_NEAR(shareOf(1, 1, 0.95).low, 0.05, 1e-12);
  EXPECT_EQ(shareOf(0, 0, 0.95).low, 0);
}

} // namespace
