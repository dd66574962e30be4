#include "trace/Trace.h"

#include <string>

#include <gtest/gtest.h>

namespace {

class TraceTest : public testing::Test {
protected:
  TraceTest() {
    run.sensors = {{"skin", SensorTrack::Kind::kReal, 1000, {}},
                   {"case", SensorTrack::Kind::kPlantNode, {}, {}}};
  }

  static Budget limit(const std::string& text) { return readLimit(text).budget.value(); }

  TraceDescription run;
};

TEST_F(TraceTest, ABudgetIsHeldOnce) {
  run.hold(limit("skin=43C"));
  run.hold(limit("skin=43000mC"));
  EXPECT_EQ(run.budgets.size(), 1U);
}

TEST_F(TraceTest, BudgetsThatDifferInOneThingAreTwo) {
  for (const char* text : {"skin=43C", "skin=44C", "case=43C", "node:skin=43C", "skin=43C:60s",
                           "skin=43C:61s", "p95:skin=43C", "p99:skin=43C"})
    run.hold(limit(text));
  EXPECT_EQ(run.budgets.size(), 8U);
}

TEST_F(TraceTest, ALimitIsOfTheSensorThatIsHeldToIt) {
  run.hold(run.sensors[1], limit("some=45C"));
  ASSERT_EQ(run.budgets.size(), 1U);
  EXPECT_EQ(textOf(run.budgets[0]), "node:case=45C");
  run.hold(run.sensors[0], limit("node:some=45C"));
  EXPECT_EQ(textOf(run.budgets[1]), "skin=45C");
}

TEST_F(TraceTest, OfSeveralLimitsTheLowestIsTheSensors) {
  run.hold(run.sensors[0], limit("skin=45C"));
  run.hold(run.sensors[0], limit("skin=43C"));
  run.hold(run.sensors[0], limit("skin=44C"));
  EXPECT_EQ(run.sensors[0].limit, 43'000);
  EXPECT_EQ(run.budgets.size(), 3U);
  EXPECT_FALSE(run.sensors[1].limit);
}

TEST_F(TraceTest, TheDaemonsNumbersOfASensorCountInItsUnit) {
  run.countIn({{"skin", 100}, {"case", 1000}, {"other", 100}});
  EXPECT_EQ(run.sensors[0].millidegreesOf(381), 38'100);
  EXPECT_EQ(run.sensors[0].millidegreesOf(-5), -500);
  // No number wraps round to one that a limit would let pass.
  EXPECT_EQ(run.sensors[0].millidegreesOf(21'474'837), INT32_MAX);
  EXPECT_EQ(run.sensors[0].millidegreesOf(-21'474'837), INT32_MIN);
  EXPECT_EQ(run.sensors[0].millidegreesOf(21'474'836), 2'147'483'600);
  // A node of the plant is no sensor, whatever its name.
  EXPECT_EQ(run.sensors[1].millidegreesOf(45'000), 45'000);
}

TEST_F(TraceTest, ALimitThatMayBePassedForAWhileIsNone) {
  run.hold(run.sensors[0], limit("skin=43C:60s"));
  run.hold(run.sensors[0], limit("p95:skin=42C"));
  EXPECT_FALSE(run.sensors[0].limit);
  EXPECT_EQ(run.budgets.size(), 2U);
}

} // namespace
