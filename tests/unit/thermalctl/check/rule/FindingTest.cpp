#include "check/rule/Finding.h"

#include <gtest/gtest.h>

namespace {

TEST(FindingTest, CountsTheErrorsAmongTheFindings) {
  Finding warning;
  warning.severity = Severity::Warning;
  Finding error;
  error.severity = Severity::Error;
  EXPECT_EQ(errorsIn({}), 0U);
  EXPECT_EQ(errorsIn({warning, warning}), 0U);
  EXPECT_EQ(errorsIn({error, warning, error}), 2U);
}

TEST(FindingTest, NamesTheSeveritiesAsCompilersDo) {
  EXPECT_STREQ(nameOf(Severity::Error), "error");
  EXPECT_STREQ(nameOf(Severity::Warning), "warning");
}

} // namespace
