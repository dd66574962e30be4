#include "coverage/BoardPeriods.h"

#include <cstdint>
#include <set>
#include <string>

#include <gtest/gtest.h>

#include "thermalctl/coverage/CoverageBoard.h"

namespace {

using Milliseconds = std::set<uint32_t>;

class BoardPeriodsTest : public testing::Test, protected CoverageBoard {
protected:
  BoardPeriods periods() const { return periodsOf(coverage()); }

  static std::string every(const std::string& period) {
    return monitor("40000", "38000", "clock", "1", "sampling " + period + "\n");
  }
  static std::string steppingEvery(const std::string& period) {
    return step("40000", "38000", "sampling " + period + "\n");
  }
};

TEST_F(BoardPeriodsTest, OfSensorsAloneAreThoseOfTheBoard) {
  EXPECT_EQ(periods().ofSensors, (Milliseconds{1000, 2000}));
  EXPECT_TRUE(periods().ofItems.empty());
  EXPECT_EQ(periods().itemThreads, 0U);
  EXPECT_DOUBLE_EQ(periods().wakeUps, 1.5);
}

TEST_F(BoardPeriodsTest, SensorsOfOnePeriodShareAThread) {
  environment.sections[1].sampling.value = 1000;
  EXPECT_EQ(periods().ofSensors, Milliseconds{1000});
  EXPECT_DOUBLE_EQ(periods().wakeUps, 1);
}

TEST_F(BoardPeriodsTest, ItemsOfOnePeriodAndKindShareAThread) {
  add(every("500") + every("500"));
  EXPECT_EQ(periods().itemThreads, 1U);
  EXPECT_DOUBLE_EQ(periods().wakeUps, 1.5 + 2);
}

TEST_F(BoardPeriodsTest, ItemsOfTwoKindsOrPeriodsHaveThreadsOfTheirOwn) {
  add(every("500") + steppingEvery("500") + every("250"));
  EXPECT_EQ(periods().itemThreads, 3U);
  EXPECT_EQ(periods().ofItems, (Milliseconds{250, 500}));
  EXPECT_DOUBLE_EQ(periods().wakeUps, 1.5 + 2 + 2 + 4);
}

TEST_F(BoardPeriodsTest, OfScenariosTheOneWithTheMostCounts) {
  add("SCEN day\n" + every("500") + every("1000") + "SCEN night\n" + every("100"));
  EXPECT_EQ(periods().itemThreads, 2U);
  EXPECT_EQ(periods().ofItems, (Milliseconds{100, 500, 1000}));
  EXPECT_DOUBLE_EQ(periods().wakeUps, 1.5 + 10);
}

TEST_F(BoardPeriodsTest, ScenariosOfOneNameInTwoConfigurationsAreNotTogether) {
  add(every("500"), "a.conf");
  add(every("1000"), "b.conf");
  EXPECT_EQ(periods().itemThreads, 1U);
  EXPECT_DOUBLE_EQ(periods().wakeUps, 1.5 + 2);
}

TEST_F(BoardPeriodsTest, NoPeriodWakesMoreOftenThanEachMillisecond) {
  add(every("0"));
  EXPECT_DOUBLE_EQ(periods().wakeUps, 1.5 + 1000);
}

TEST_F(BoardPeriodsTest, APeriodBelowNoneIsThatOfTheDaemon) {
  add(every("-1"));
  EXPECT_EQ(periods().ofItems, Milliseconds{4294967295});
}

TEST_F(BoardPeriodsTest, AreDistinctOverSensorsAndItems) {
  add(every("1000") + every("300"));
  EXPECT_EQ(distinct(periods()), (Milliseconds{300, 1000, 2000}));
}

TEST_F(BoardPeriodsTest, AreToldInASentence) {
  add(every("300"));
  EXPECT_EQ(describe(periods()),
            "2 threads for sensors (every 1000 and 2000 ms), up to 1 for the items of a scenario, "
            "at most 4.83 wake-ups a second");
  EXPECT_EQ(describe({{250}, {}, 0, 4}), "1 thread for sensors (every 250 ms), up to 0 for the "
                                         "items of a scenario, at most 4 wake-ups a second");
}

} // namespace
