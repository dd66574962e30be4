#include "simulate/NodeFeed.h"

#include <stdexcept>

#include <gtest/gtest.h>

#include "base/TextReader.h"
#include "support/LogSwitchedOff.h"
#include "thermalctl/simulate/RunFiles.h"

namespace {

// The feed of a board with the sensor "cpu" alone, at 25 degrees.
class NodeFeedTest : public testing::Test {
protected:
  static std::string wordIn(const std::string& path) {
    const std::string text = readFile(path).value_or("gone");
    return text.substr(0, text.find_first_of(kWhiteSpace));
  }

  void give(const char* word, double value = 0) {
    feed.setFault({0, Change::Kind::kFault, 0, value, word, {}});
  }

  LogSwitchedOff noLog;
  RunFiles files;
  const std::vector<RunInput> runs = files.read();
  Plant plant{runs.at(0).plant, 1};
  NodeFeed feed{runs.at(0), plant};
};

TEST_F(NodeFeedTest, ANodeShowsWhatItsProbeReads) {
  const std::string node = feed.make("cpu");
  feed.refresh(0);
  EXPECT_EQ(wordIn(node), "25000");
}

TEST_F(NodeFeedTest, ASensorThatThePlantDoesNotFeedHasNoNode) {
  EXPECT_EQ(feed.make("other"), "");
  feed.refresh(0);
  give(fault::kStuck);
}

TEST_F(NodeFeedTest, AFaultHoldsTheNodeUntilItIsTakenBack) {
  const std::string node = feed.make("cpu");
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
  const std::string node = feed.make("cpu");
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
  const std::string node = feed.make("cpu");
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
