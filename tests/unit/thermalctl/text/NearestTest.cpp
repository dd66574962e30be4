#include "text/Nearest.h"

#include <gtest/gtest.h>

namespace {

const std::vector<std::string> kKeys = {"set_point", "set_point_clr", "sensor", "sampling"};

TEST(NearestTest, CountsTheSlipsBetweenTwoWords) {
  EXPECT_EQ(editDistance("cpu", "cpu"), 0u);
  EXPECT_EQ(editDistance("cpu", "CPU"), 0u);
  EXPECT_EQ(editDistance("cpu", "gpu"), 1u);
  EXPECT_EQ(editDistance("cpu", "cpu0"), 1u);
  EXPECT_EQ(editDistance("cpu", "pu"), 1u);
  EXPECT_EQ(editDistance("cpu", "pcu"), 1u);
  EXPECT_EQ(editDistance("", "cpu"), 3u);
  EXPECT_EQ(editDistance("battery", "batery0"), 2u);
}

TEST(NearestTest, FindsTheWordThatASlipWasMeantFor) {
  EXPECT_EQ(nearest("sensr", kKeys), "sensor");
  EXPECT_EQ(nearest("smapling", kKeys), "sampling");
  EXPECT_EQ(nearest("Set_Point_Clr", kKeys), "set_point_clr");
  EXPECT_EQ(nearest("set_points_clr", kKeys), "set_point_clr");
}

TEST(NearestTest, TakesTheFirstOfTwoThatAreEquallyNear) {
  EXPECT_EQ(nearest("cpu", {"cpu0", "cpu1"}), "cpu0");
}

TEST(NearestTest, FindsNothingForAWordThatIsNothingLikeAny) {
  EXPECT_EQ(nearest("device", kKeys), "");
  EXPECT_EQ(nearest("x", {"y"}), "");
  EXPECT_EQ(nearest("", kKeys), "");
  EXPECT_EQ(nearest("cpu", {}), "");
}

TEST(NearestTest, FindsNothingForAWordThatIsOneOfThem) {
  EXPECT_EQ(nearest("sensor", {"sensors", "sensor"}), "");
}

TEST(NearestTest, DoesNotCompareNamesOfAnyLength) {
  const std::string name(1000000, 'a');
  EXPECT_EQ(nearest(name, {name + "a"}), "");
}

TEST(NearestTest, AsksForTheWordItFound) {
  EXPECT_EQ(didYouMean("sensr", kKeys), "did you mean 'sensor'?");
  EXPECT_EQ(didYouMean("device", kKeys), "");
}

TEST(NearestTest, ALongerWordMayHoldMoreSlips) {
  EXPECT_EQ(nearest("ab", {"ac"}), "");
  EXPECT_EQ(nearest("abc", {"abd"}), "abd");
  EXPECT_EQ(nearest("abcde", {"abcxy"}), "");
  EXPECT_EQ(nearest("abcdef", {"abcdxy"}), "abcdxy");
  EXPECT_EQ(nearest("abcdefghijk", {"abcdefghxyz"}), "");
  EXPECT_EQ(nearest("abcdefghijkl", {"abcdefghixyz"}), "abcdefghixyz");
  EXPECT_EQ(nearest("abcdefghijkl", {"abcdefghwxyz"}), "");
}

TEST(NearestTest, SaysSomethingElseWhereNothingIsNear) {
  EXPECT_EQ(didYouMean("device", kKeys, "there are four"), "there are four");
  EXPECT_EQ(didYouMean("sensr", kKeys, "there are four"), "did you mean 'sensor'?");
}

} // namespace
