#include "check/configuration/Ends.h"

#include <gtest/gtest.h>

namespace {

// Two items, of which the first lacks `sensor` and the second `set_point` and `sensor`.
constexpr char kLacking[] = "SCEN Default\n[a]\nalgo_type ss\nset_point 1\n\n"
                            "[b]\nalgo_type ss\nsampling 1\n";

class EndsTest : public testing::Test {
protected:
  const Configuration& read(const std::string& content) {
    configurations.clear();
    configurations.push_back(readConfiguration("day.conf", content, board));
    return configurations.front();
  }
  Ending wantOf(const std::string& key, const Item& item) {
    const Rule rule{"some-rule", Severity::kError, "The paragraph.", nullptr};
    std::vector<Finding> findings;
    const Subject subject{board, configurations, std::nullopt};
    Context context{rule, subject, findings};
    context.configuration = &configurations.front();
    return endForWantOf(key, item, context);
  }

  Environment board = readEnvironment("board.env", "");
  std::vector<Configuration> configurations;
};

TEST(EndingTest, OnlyTheFirstErrorEndsTheDaemon) {
  EXPECT_EQ(ending(true).words, "the daemon ends: ");
  EXPECT_EQ(ending(true).end, End::kNow);
  EXPECT_EQ(ending(false).words, "the daemon would end here too: ");
  EXPECT_EQ(ending(false).end, End::kLater);
}

TEST_F(EndsTest, TheDaemonEndsAtTheFirstItemThatLacksSomething) {
  const Configuration& day = read(kLacking);
  EXPECT_TRUE(endsForWantOf(day, *day.meant.at(0), "sensor"));
  EXPECT_FALSE(endsForWantOf(day, *day.meant.at(1), "sensor"));
}

TEST_F(EndsTest, NotForWantOfAKeyThatIsThere) {
  const Configuration& day = read(kLacking);
  EXPECT_FALSE(endsForWantOf(day, *day.meant.at(0), "set_point"));
}

TEST_F(EndsTest, OfMergedItemsTheOneThatLacksTheKeyIsToBlame) {
  const Configuration& day = read("SCEN Default\n[a]\nalgo_type ss\nsensor cpu\ndevice fan\n"
                                  "set_point_clr 1\n[b]\nalgo_type ss\n");
  ASSERT_NE(day.fatal(), nullptr);
  EXPECT_FALSE(endsForWantOf(day, *day.meant.at(1), "set_point"));
  EXPECT_TRUE(endsForWantOf(day, *day.meant.at(0), "set_point"));
}

TEST_F(EndsTest, AnotherCauseIsNoWant) {
  const Configuration& day = read("SCEN Default\n[a]\nalgo_type other\n");
  ASSERT_NE(day.fatal(), nullptr);
  EXPECT_FALSE(endsForWantOf(day, *day.meant.at(0), "sensor"));
}

TEST_F(EndsTest, SaysWhatIsMissingAndWhetherTheDaemonGetsThere) {
  const Configuration& day = read(kLacking);
  EXPECT_EQ(wantOf("sensor", *day.meant.at(0)).words, ", and ends because 'sensor' is missing");
  EXPECT_EQ(wantOf("sensor", *day.meant.at(0)).end, End::kNow);
  EXPECT_EQ(wantOf("set_point", *day.meant.at(1)).words,
            ", and would end here too because 'set_point' is missing");
  EXPECT_EQ(wantOf("set_point", *day.meant.at(1)).end, End::kLater);
}

TEST_F(EndsTest, WithoutAWantItSaysNothing) {
  const Configuration& day = read(kLacking);
  EXPECT_EQ(wantOf("set_point", *day.meant.at(0)).words, "");
  EXPECT_EQ(wantOf("set_point", *day.meant.at(0)).end, End::kNone);
}

} // namespace
