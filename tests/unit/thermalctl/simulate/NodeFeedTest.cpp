#include "simulate/NodeFeed.h"

#include <istream>
#include <iterator>
#include <stdexcept>

#include <gtest/gtest.h>

#include "support/LogSwitchedOff.h"
#include "thermalctl/simulate/RunFiles.h"

namespace {

// The feed of a board with the sensor "cpu" alone, at 25 degrees.
class NodeFeedTest : public testing::Test {
protected:
  static std::string wordIn(std::streambuf* node) {
    std::istream in(node);
    in.seekg(0);
    return {std::istreambuf_iterator<char>(in), {}};
  }

  void give(const char* word, double value = 0) {
    feed.setFault({0, Change::Kind::kFault, 0, value, 0, word, {}});
  }

  LogSwitchedOff noLog;
  RunFiles files;
  const std::vector<RunInput> runs = files.read();
  Plant plant{runs.at(0).plant, 1};
  NodeFeed feed{runs.at(0), plant};
};

TEST_F(NodeFeedTest, ANodeShowsWhatItsProbeReads) {
  std::streambuf* const node = feed.make("cpu");
  feed.refresh(0);
  EXPECT_EQ(wordIn(node), "25000");
}

TEST_F(NodeFeedTest, ANodeOfAnotherUnitShowsWhatItsDriverWould) {
  const struct {
    int32_t unit;
    double celsius;
    const char* word;
  } cases[] = {{100, 25.04, "250"},     {100, 25.05, "251"}, {100, -0.05, "-1"},
               {1000, 25.499, "25"},    {1000, 25.5, "26"},  {1000, -25.5, "-26"},
               {1000, 2.2e6, "2147484"}};
  for (const auto& c : cases) {
    RunInput run = runs.at(0);
    run.description.countIn({{"cpu", c.unit}});
    NodeFeed other(run, plant);
    std::streambuf* const node = other.make("cpu");
    other.refresh(0);
    EXPECT_EQ(wordIn(node), c.unit == 100 ? "250" : "25");
    other.setFault({0, Change::Kind::kFault, 0, c.celsius, 0, fault::kValue, {}});
    EXPECT_EQ(wordIn(node), c.word) << c.unit << ' ' << c.celsius;
  }
}

TEST_F(NodeFeedTest, ASensorThatThePlantDoesNotFeedHasNoNode) {
  EXPECT_EQ(feed.make("other"), nullptr);
  feed.refresh(0);
  give(fault::kStuck);
}

TEST_F(NodeFeedTest, AFaultHoldsTheNodeUntilItIsTakenBack) {
  std::streambuf* const node = feed.make("cpu");
  feed.refresh(0);
  const auto wordUnder = [&](const char* word, double value = 0) {
    give(word, value);
    feed.refresh(0);
    return wordIn(node);
  };
  EXPECT_EQ(wordUnder(fault::kValue, -12.5), "-12500");
  EXPECT_EQ(wordUnder(fault::kStuck), "-12500");
  EXPECT_EQ(wordUnder(fault::kNonsense), "nonsense");
  EXPECT_EQ(wordUnder(fault::kUnreadable), "");
  EXPECT_EQ(wordUnder(fault::kNone), "25000");
}

TEST_F(NodeFeedTest, AReadingIsRoundedAndHeldToWhatTheDaemonKnows) {
  std::streambuf* const node = feed.make("cpu");
  const auto reading = [&](double celsius) {
    give(fault::kValue, celsius);
    return wordIn(node);
  };
  EXPECT_EQ(reading(64.0299), "64030");
  EXPECT_EQ(reading(-0.0006), "-1");
  EXPECT_EQ(reading(1.115), "1115");
  EXPECT_EQ(reading(3e6), "2147483647");
  EXPECT_EQ(reading(-3e6), "-2147483648");
}

TEST_F(NodeFeedTest, StuckBeforeTheFirstSampleKeepsWhatItWouldHaveRead) {
  std::streambuf* const node = feed.make("cpu");
  give(fault::kNone);
  give(fault::kStuck);
  feed.refresh(0);
  EXPECT_EQ(wordIn(node), "25000");
}

TEST_F(NodeFeedTest, EveryWordOfAWorkloadIsAFaultThatANodeCanHaveAndNoOther) {
  feed.make("cpu");
  for (const char* word : fault::kWords)
    EXPECT_NO_THROW(give(word)) << word;
  EXPECT_THROW(give("loose"), std::logic_error);
}

} // namespace
