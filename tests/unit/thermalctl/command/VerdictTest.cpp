#include "command/Verdict.h"

#include <string>
#include <vector>

#include <gtest/gtest.h>

namespace {

// How a command ends with these runs, and what it says.
struct Judged {
  ExitStatus status;
  std::string said;
};

Judged judged(const std::vector<RunResult>& results) {
  testing::internal::CaptureStderr();
  const ExitStatus status = verdictOf(results);
  return {status, testing::internal::GetCapturedStderr()};
}

RunResult unjudged(size_t sentences) {
  RunResult result;
  for (size_t i = 1; i <= sentences; ++i)
    result.unjudged.push_back("sensor " + std::to_string(i) + " never had a sample");
  return result;
}

size_t linesOf(const std::string& text) {
  size_t lines = 0;
  for (const char each : text)
    lines += each == '\n';
  return lines;
}

TEST(VerdictTest, WithoutABudgetAllIsFine) {
  EXPECT_EQ(judged({}).status, kFine);
  const Judged one = judged({RunResult()});
  EXPECT_EQ(one.status, kFine);
  EXPECT_EQ(one.said, "");
}

TEST(VerdictTest, OneQuestionWithoutAnAnswerLeavesTheWholeWithoutOne) {
  const Judged end = judged({RunResult(), unjudged(1), RunResult()});
  EXPECT_EQ(end.status, kNoVerdict);
  EXPECT_EQ(end.said, "thermalctl: sensor 1 never had a sample\n");
}

TEST(VerdictTest, TwentySentencesAreToldAndTheOthersCounted) {
  EXPECT_EQ(linesOf(judged({unjudged(20)}).said), 20U);
  const Judged end = judged({unjudged(11), unjudged(11)});
  EXPECT_EQ(linesOf(end.said), 21U);
  EXPECT_NE(end.said.find("thermalctl: and 2 more sentences\n"), std::string::npos) << end.said;
  EXPECT_NE(judged({unjudged(21)}).said.find("and 1 more sentence\n"), std::string::npos);
}

TEST(VerdictTest, OneBrokenBudgetOfAnyRunIsAProblem) {
  const auto held = [](Verdict::Is is) {
    RunResult result;
    result.verdicts = {{{}, Verdict::Is::kKept}, {{}, is}};
    return result;
  };
  EXPECT_EQ(judged({held(Verdict::Is::kKept), RunResult()}).status, kFine);
  const Judged broken = judged({held(Verdict::Is::kKept), held(Verdict::Is::kPassed)});
  EXPECT_EQ(broken.status, kProblems);
  EXPECT_EQ(broken.said, "");
  // A broken one is no answer where another question has none.
  EXPECT_EQ(judged({held(Verdict::Is::kPassed), unjudged(1)}).status, kNoVerdict);
}

} // namespace
