#include <cstdlib>

#include <gtest/gtest.h>

// Two tests, one of which ends its own process with the status of a test that has passed.

TEST(Ending, OfTheProcessOfATest) {
  std::_Exit(EXIT_SUCCESS);
}

TEST(Ending, OfAChildOfATest) {
  EXPECT_EXIT(std::_Exit(EXIT_SUCCESS), testing::ExitedWithCode(EXIT_SUCCESS), "");
}
