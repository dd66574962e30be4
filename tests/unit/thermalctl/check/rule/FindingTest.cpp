#include "check/rule/Finding.h"

#include <gtest/gtest.h>

namespace {

TEST(FindingTest, CountsTheErrorsAmongTheFindings) {
  Finding warning;
  warning.severity = Severity::kWarning;
  Finding error;
  error.severity = Severity::kError;
  EXPECT_EQ(errorsIn({}), 0U);
  EXPECT_EQ(errorsIn({warning, warning}), 0U);
  EXPECT_EQ(errorsIn({error, warning, error}), 2U);
}

TEST(FindingTest, NamesTheSeveritiesAsCompilersDo) {
  EXPECT_STREQ(nameOf(Severity::kError), "error");
  EXPECT_STREQ(nameOf(Severity::kWarning), "warning");
}

} // namespace
