#include "trace/Budget.h"

#include <string>
#include <utility>

#include <gtest/gtest.h>

namespace {

Budget limitOf(const std::string& text) {
  const BudgetText read = readLimit(text);
  EXPECT_TRUE(read.budget) << text << ": " << read.wrong;
  return read.budget.value_or(Budget());
}

Budget requirementOf(const std::string& text) {
  const BudgetText read = readRequirement(text);
  EXPECT_TRUE(read.budget) << text << ": " << read.wrong;
  return read.budget.value_or(Budget());
}

TEST(BudgetTest, IsALimitOfASensorOrExpresslyOfANode) {
  const Budget sensor = limitOf("skin=43C");
  EXPECT_EQ(sensor.of, Budget::Of::kPeak);
  EXPECT_EQ(sensor.name, "skin");
  EXPECT_FALSE(sensor.ofNode);
  EXPECT_EQ(sensor.bound, 43'000);
  const Budget node = limitOf("node:battery=45000mC");
  EXPECT_EQ(node.name, "battery");
  EXPECT_TRUE(node.ofNode);
  EXPECT_EQ(node.bound, 45'000);
}

TEST(BudgetTest, IsATimeAboveALimitInAll) {
  const Budget budget = limitOf("skin=43C:60s");
  EXPECT_EQ(budget.of, Budget::Of::kTimeAbove);
  EXPECT_EQ(budget.bound, 43'000);
  EXPECT_EQ(budget.allowed, 60'000);
  EXPECT_EQ(limitOf("node:case=45C:1m30s").allowed, 90'000);
}

TEST(BudgetTest, IsAPercentile) {
  const Budget budget = limitOf("p95:skin=42C");
  EXPECT_EQ(budget.of, Budget::Of::kPercentile);
  EXPECT_EQ(budget.name, "skin");
  EXPECT_EQ(budget.percentile, 95);
  EXPECT_EQ(budget.bound, 42'000);
  EXPECT_TRUE(limitOf("p99.9:node:case=45C").ofNode);
  EXPECT_EQ(limitOf("p:x=42C").name, "p:x");
}

TEST(BudgetTest, IsWorkThatASourceMustDo) {
  for (const char* text : {"work:gpu=75%", "work:gpu>=75%"}) {
    const Budget budget = requirementOf(text);
    EXPECT_EQ(budget.of, Budget::Of::kWork);
    EXPECT_EQ(budget.name, "gpu");
    EXPECT_EQ(budget.bound, 0.75);
  }
}

TEST(BudgetTest, IsHowOftenADeviceMayChange) {
  const Budget budget = requirementOf("changes:cpu_big<=6/min");
  EXPECT_EQ(budget.of, Budget::Of::kChanges);
  EXPECT_EQ(budget.name, "cpu_big");
  EXPECT_EQ(budget.bound, 6);
}

TEST(BudgetTest, TakesANameWithAnEqualsSign) {
  EXPECT_EQ(limitOf("a=b=43C").name, "a=b");
  EXPECT_EQ(requirementOf("work:a=b=75%").name, "a=b");
}

TEST(BudgetTest, IsWrittenTheSameWhateverItWasReadFrom) {
  for (const char* text : {"skin=43C", "node:case=44.5C", "skin=43C:60s", "p99.9:skin=42C"})
    EXPECT_EQ(textOf(limitOf(text)), text);
  for (const char* text : {"work:gpu=75%", "work:gpu=33.3%", "changes:cpu_big<=0.5/min"})
    EXPECT_EQ(textOf(requirementOf(text)), text);
  EXPECT_EQ(textOf(limitOf("skin=43000mC:1m")), "skin=43C:60s");
  EXPECT_EQ(textOf(limitOf("skin=43C:1500ms")), "skin=43C:1500ms");
}

TEST(BudgetTest, TellsWhatIsWrongWithALimit) {
  for (const char* text : {"", "skin", "=43C", "node:=43C", "43C", "p95:=42C"})
    EXPECT_EQ(readLimit(text).wrong, "is no limit") << text;
  EXPECT_EQ(readLimit("skin=43").wrong, "'43' has no unit");
  EXPECT_EQ(readLimit("skin=43").hint, "write 43C or 43000mC");
  EXPECT_EQ(readLimit("node:case=").wrong, "'' is no temperature");
  EXPECT_EQ(readLimit("skin=43C:lots").wrong, "'lots' is no time");
  EXPECT_EQ(readLimit("skin=43C:-1s").wrong, "'-1s' is no time");
  EXPECT_EQ(readLimit("p0:skin=43C").wrong, "'p0' is no percentile");
  EXPECT_EQ(readLimit("p100:skin=43C").wrong, "'p100' is no percentile");
  EXPECT_EQ(readLimit("p95:skin=43C:60s").wrong, "has a percentile and a time");
}

TEST(BudgetTest, TellsWhatIsWrongWithARequirement) {
  EXPECT_EQ(readRequirement("wrok:gpu=75%").wrong, "'wrok' is nothing that can be required");
  EXPECT_EQ(readRequirement("wrok:gpu=75%").hint, "did you mean 'work'?");
  EXPECT_EQ(readRequirement("gpu=75%").hint, "write work:gpu=75% or changes:cpu_big<=6/min");
  for (const char* text : {"work:gpu", "work:=75%", "work:gpu=75", "work:gpu=0.75", "work:gpu=101%",
                           "work:gpu=-1%", "work:gpu<=75%", "work:gpu=nan%"})
    EXPECT_EQ(readRequirement(text).wrong, "does not say how much work a source must do at least")
        << text;
  for (const char* text : {"changes:cpu", "changes:<=6/min", "changes:cpu<=6", "changes:cpu=6/min",
                           "changes:cpu<=-6/min", "changes:cpu<=6/h"})
    EXPECT_EQ(readRequirement(text).wrong,
              "does not say how often a device may change its level at most")
        << text;
}

TEST(BudgetTest, IsBeyondInTheDirectionInWhichItIsBroken) {
  EXPECT_EQ((Verdict{limitOf("skin=43C"), Verdict::Is::kPassed, 44'000}).beyond(), 1000);
  EXPECT_EQ((Verdict{requirementOf("work:gpu=75%"), Verdict::Is::kKept, 1.0}).beyond(), -0.25);
  EXPECT_FALSE((Verdict{limitOf("skin=43C")}).beyond());
}

TEST(BudgetTest, WhatIsWrongComesWithHowToWriteIt) {
  const std::pair<const char*, const char*> limits[] = {
      {"skin", "write a sensor, or node: and a node of the plant, and its temperature, such as "
               "skin=43C or node:case=45C"},
      {"p0:skin=42C", "write one above 0 and below 100, such as p95:skin=42C"},
      {"skin=43C:soon", "write how long it may be above in all, such as skin=43C:60s"},
      {"p95:skin=43C:60s", "write two limits, such as p95:skin=42C and skin=43C:60s"},
      {"skin=43F", "write degrees Celsius such as 43C or 42.5C, or millidegrees such as 43000mC"},
  };
  for (const auto& [text, hint] : limits)
    EXPECT_EQ(readLimit(text).hint, hint) << text;
  EXPECT_EQ(readRequirement("work:gpu").hint,
            "write a source and its share from 0 to 100 %, such as work:gpu=75%");
  EXPECT_EQ(readRequirement("changes:cpu").hint,
            "write a device and a number a minute, such as changes:cpu_big<=6/min");
  EXPECT_EQ(readRequirement("chagnes:cpu<=6/min").hint, "did you mean 'changes'?");
}

TEST(BudgetTest, TheEndsOfAShareBelongToIt) {
  EXPECT_EQ(requirementOf("work:gpu=0%").bound, 0);
  EXPECT_EQ(requirementOf("work:gpu=100%").bound, 1);
  EXPECT_FALSE(readRequirement("work:gpu=100.1%").budget);
  EXPECT_EQ(requirementOf("changes:cpu<=0/min").bound, 0);
  EXPECT_EQ(limitOf("p0.1:skin=42C").percentile, 0.1);
  EXPECT_EQ(limitOf("p99.99:skin=42C").percentile, 99.99);
}

TEST(BudgetTest, ATimeOfNoughtAllowsNothingAndIsStillATime) {
  const Budget budget = limitOf("skin=43C:0s");
  EXPECT_EQ(budget.of, Budget::Of::kTimeAbove);
  EXPECT_EQ(budget.allowed, 0);
  EXPECT_EQ(textOf(budget), "skin=43C:0s");
  EXPECT_FALSE(budget == limitOf("skin=43C"));
}

TEST(BudgetTest, IsOfATemperatureUnlessItIsRequired) {
  for (const char* text : {"skin=43C", "skin=43C:60s", "p95:skin=42C", "node:case=45C"})
    EXPECT_TRUE(limitOf(text).ofTemperature()) << text;
  for (const char* text : {"work:gpu=75%", "changes:cpu<=6/min"})
    EXPECT_FALSE(requirementOf(text).ofTemperature()) << text;
}

TEST(BudgetTest, ItsSubjectIsWhatItIsOfWithoutTheBound) {
  const std::pair<const char*, const char*> limits[] = {{"skin=43C", "skin"},
                                                        {"p95:skin=42C", "skin"},
                                                        {"skin=43C:60s", "skin"},
                                                        {"node:case=45C", "node:case"}};
  for (const auto& [text, subject] : limits)
    EXPECT_EQ(subjectOf(limitOf(text)), subject) << text;
  EXPECT_EQ(subjectOf(requirementOf("work:gpu=75%")), "work:gpu");
  EXPECT_EQ(subjectOf(requirementOf("changes:cpu<=6/min")), "changes:cpu");
}

TEST(BudgetTest, MoreChangesThanMayBeAreBeyond) {
  const Budget changes = requirementOf("changes:cpu<=6/min");
  EXPECT_EQ((Verdict{changes, Verdict::Is::kPassed, 7.5}).beyond(), 1.5);
  EXPECT_EQ((Verdict{changes, Verdict::Is::kKept, 6.0}).beyond(), 0);
}

} // namespace
