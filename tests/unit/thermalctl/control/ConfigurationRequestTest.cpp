#include "control/ConfigurationRequest.h"

#include <sys/stat.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include "thermalctl/control/PacedDaemon.h"

namespace {

using namespace std::chrono_literals;

class ConfigurationRequestTest : public ::testing::Test {
protected:
  // Without items: nothing in it needs a board.
  static constexpr char kContent[] = "\n";

  Answer ask(std::chrono::milliseconds timeout = 10s) {
    return requestConfiguration(daemon.directory, "night.conf", kContent, timeout, daemon);
  }
  std::string word() { return daemon.board.files.read("request.dconf"); }
  void askElsewhere(const std::string& name) {
    daemon.writeElsewhere(daemon.directory.requestFile, name);
  }

  PacedDaemon daemon;
};

TEST_F(ConfigurationRequestTest, EndsWhenTheConfigurationIsInForce) {
  EXPECT_EQ(ask().outcome, Outcome::kInForce);
  EXPECT_EQ(daemon.board.main().confFileName, "night.conf");
  EXPECT_EQ(word(), "PARSED");
  EXPECT_LE(daemon.passed(), 2s + 100ms);
}

TEST_F(ConfigurationRequestTest, CopiesTheFileBesideTheOthers) {
  ask();
  EXPECT_EQ(daemon.board.files.read("config/night.conf"), kContent);
}

TEST_F(ConfigurationRequestTest, TellsARejection) {
  // The daemon looks for the file elsewhere.
  daemon.board.main().confDir = daemon.board.files.node("elsewhere/");
  EXPECT_EQ(ask().outcome, Outcome::kRefused);
  EXPECT_EQ(word(), "PARSED");
}

TEST_F(ConfigurationRequestTest, TellsARejectionThatIsLate) {
  daemon.period = 4s;
  daemon.pause(600ms);
  daemon.board.main().confDir = daemon.board.files.node("elsewhere/");
  EXPECT_EQ(ask().outcome, Outcome::kRefused);
  EXPECT_GT(daemon.passed(), 3s);
}

TEST_F(ConfigurationRequestTest, WaitsForARequestThatIsUnderWay) {
  daemon.board.files.write("config/day.conf", "");
  askElsewhere("day.conf");
  EXPECT_EQ(ask().outcome, Outcome::kInForce);
  EXPECT_EQ(daemon.board.main().confFileName, "night.conf");
  EXPECT_GT(daemon.passed(), 3s);
}

TEST_F(ConfigurationRequestTest, DisturbsNoRequestThatDoesNotEnd) {
  askElsewhere("day.conf");
  daemon.isRunning = false;
  const Answer answer = ask(4s);
  EXPECT_EQ(answer.outcome, Outcome::kPending);
  EXPECT_EQ(answer.word, "day.conf");
  EXPECT_EQ(word(), "day.conf");
  EXPECT_FALSE(daemon.board.files.exists("config/night.conf"));
}

TEST_F(ConfigurationRequestTest, WithdrawsFromADaemonThatDoesNotLook) {
  daemon.isRunning = false;
  EXPECT_EQ(ask(4s).outcome, Outcome::kNoAnswer);
  EXPECT_EQ(word(), "PARSED");
  EXPECT_GE(daemon.passed(), 4s);
  EXPECT_LE(daemon.passed(), 4s + 50ms);
}

TEST_F(ConfigurationRequestTest, TellsADaemonThatTakesTheFileAndEnds) {
  daemon.at(700ms, [this] { daemon.isRunning = false; });
  EXPECT_EQ(ask(4s).outcome, Outcome::kNotFinished);
  EXPECT_EQ(word(), "night.conf");
}

TEST_F(ConfigurationRequestTest, HasTheWholeTimeForTheSwapItself) {
  daemon.period = 4s;
  EXPECT_EQ(ask(4s).outcome, Outcome::kInForce);
  EXPECT_GT(daemon.passed(), 4s);
}

TEST_F(ConfigurationRequestTest, TellsWhenAnotherWriterAsksForAnotherFile) {
  daemon.at(100ms, [this] { askElsewhere("day.conf"); });
  const Answer answer = ask();
  EXPECT_EQ(answer.outcome, Outcome::kOvertaken);
  EXPECT_EQ(answer.word, "day.conf");
  EXPECT_EQ(word(), "day.conf");
}

TEST_F(ConfigurationRequestTest, IsNotOvertakenOnceTheDaemonHasTakenItOver) {
  daemon.at(700ms, [this] { askElsewhere("day.conf"); });
  EXPECT_EQ(ask().outcome, Outcome::kInForce);
  EXPECT_EQ(daemon.board.main().confFileName, "night.conf");
}

TEST_F(ConfigurationRequestTest, NamesAFileThatItCannotWrite) {
  daemon.directory.configurations = daemon.board.files.node("no/");
  const Answer answer = ask();
  EXPECT_EQ(answer.outcome, Outcome::kNotWritten);
  EXPECT_EQ(answer.word, daemon.board.files.node("no/night.conf"));
  EXPECT_EQ(answer.error, std::errc::no_such_file_or_directory);
  EXPECT_EQ(word(), "PARSED");
}

TEST_F(ConfigurationRequestTest, MakesARequestFileThatIsMissing) {
  ::unlink(daemon.directory.requestFile.c_str());
  EXPECT_EQ(ask().outcome, Outcome::kInForce);
}

TEST_F(ConfigurationRequestTest, TellsWhatItWaitsFor) {
  ask();
  EXPECT_EQ(daemon.stages,
            (std::vector<std::string>{"waiting for an earlier request", "asking for night.conf",
                                      "waiting for night.conf to be in force"}));
}

} // namespace
