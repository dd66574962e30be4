#include "command/ExitStatus.h"

#include <gtest/gtest.h>

namespace {

TEST(ExitStatusTest, AComplaintIsALineBehindTheToolsNameAndTheStatusAsGiven) {
  for (const ExitStatus status : {kFine, kProblems, kCouldNotRun, kNoVerdict}) {
    testing::internal::CaptureStderr();
    EXPECT_EQ(complain(status, "cannot read day.conf"), status);
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "thermalctl: cannot read day.conf\n");
  }
}

TEST(ExitStatusTest, WhatCannotBeSeenInAComplaintIsShown) {
  testing::internal::CaptureStderr();
  complain(kCouldNotRun, "no file '\x1B[2J'");
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "thermalctl: no file '\xE2\x90\x9B[2J'\n");
}

// Scripts go by the numbers.
TEST(ExitStatusTest, NoStatusEverGetsAnotherNumber) {
  EXPECT_EQ(kFine, 0);
  EXPECT_EQ(kProblems, 1);
  EXPECT_EQ(kCouldNotRun, 2);
  EXPECT_EQ(kNoVerdict, 3);
}

} // namespace
