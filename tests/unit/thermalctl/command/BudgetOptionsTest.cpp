#include "command/BudgetOptions.h"

#include <sstream>
#include <string>
#include <vector>

#include <gtest/gtest.h>

namespace {

class BudgetOptionsTest : public testing::Test {
protected:
  // The budgets as they are written, each behind where it stands.
  std::vector<std::string> read() {
    std::vector<std::string> texts;
    for (const AskedBudget& asked : readBudgets(options, problems))
      texts.push_back(asked.file + " " + textOf(asked.budget));
    return texts;
  }
  std::string told() const {
    std::ostringstream out;
    problems.print(out);
    return out.str();
  }

  using Texts = std::vector<std::string>;

  BudgetOptions options;
  Problems problems;
};

TEST_F(BudgetOptionsTest, WithoutAnyNothingIsHeldToAnything) {
  EXPECT_EQ(read(), Texts());
  EXPECT_TRUE(problems.none());
}

TEST_F(BudgetOptionsTest, LimitsComeBeforeRequirementsEachUnderItsOptionAndSubject) {
  options.requirements = {"work:gpu=75%", "changes:big<=6/min"};
  options.limits = {"skin=43C", "node:case=45000mC"};
  EXPECT_EQ(read(),
            (Texts{"--limit skin skin=43C", "--limit node:case node:case=45C",
                   "--require work:gpu work:gpu=75%", "--require changes:big changes:big<=6/min"}));
  EXPECT_TRUE(problems.none());
}

TEST_F(BudgetOptionsTest, ALimitIsNoRequirementNorTheOtherWayRound) {
  options.requirements = {"skin=43C"};
  options.limits = {"work:gpu=75%"};
  EXPECT_EQ(read(), Texts());
  EXPECT_NE(told().find("--limit work:gpu=75%: error: "), std::string::npos) << told();
  EXPECT_NE(told().find("--require skin=43C: error: "), std::string::npos) << told();
}

TEST_F(BudgetOptionsTest, WhatIsRightIsKeptBesideWhatIsWrong) {
  options.limits = {"skin=43", "skin=44C", "=43C"};
  EXPECT_EQ(read(), Texts{"--limit skin skin=44C"});
  EXPECT_NE(told().find("--limit skin=43: error: '43' has no unit\n"
                        "      hint: write 43C or 43000mC\n"),
            std::string::npos)
      << told();
  EXPECT_NE(told().find("--limit =43C: error: "), std::string::npos) << told();
}

} // namespace
