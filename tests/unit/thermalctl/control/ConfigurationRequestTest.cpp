#include "control/ConfigurationRequest.h"

#include <sys/stat.h>
#include <unistd.h>

#include <fstream>

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

TEST_F(ConfigurationRequestTest, TellsARejectionThoughSomeoneElseHasLookedIntoTheFile) {
  daemon.board.main().confDir = daemon.board.files.node("elsewhere/");
  daemon.at(100ms, [this] { daemon.board.files.read("config/night.conf"); });
  EXPECT_EQ(ask().outcome, Outcome::kRefused);
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

// At each moment from before its own word to behind its end.
void overtakeAtEachMoment(void (*write)(const std::string&, const std::string&)) {
  for (auto when = 50ms; when < 2s; when += 150ms) {
    PacedDaemon daemon;
    daemon.board.files.write("config/day.conf", "\n");
    daemon.at(when, [&] { write(daemon.directory.requestFile, "day.conf"); });
    const Answer answer = requestConfiguration(daemon.directory, "night.conf", "\n", 10s, daemon);
    if (answer.outcome == Outcome::kInForce) {
      // It was over before.
      EXPECT_LE(daemon.passed(), when) << when.count();
    } else if (when == 1500ms) {
      // In the very moment of the daemon's answer, so that nobody has seen the word.
      EXPECT_EQ(answer.outcome, Outcome::kSwallowed);
      continue;
    } else {
      EXPECT_EQ(answer.outcome, Outcome::kOvertaken) << when.count();
      EXPECT_EQ(answer.word, "day.conf") << when.count();
    }
    daemon.pause(5s);
    EXPECT_EQ(daemon.board.main().confFileName, "day.conf") << when.count();
    EXPECT_EQ(daemon.board.files.read("request.dconf"), "PARSED") << when.count();
  }
}

TEST_F(ConfigurationRequestTest, NeverLosesTheWordOfOneWhoRenames) {
  overtakeAtEachMoment(PacedDaemon::writeElsewhere);
}

TEST_F(ConfigurationRequestTest, NeverLosesTheWordOfOneWhoWritesInPlace) {
  overtakeAtEachMoment(PacedDaemon::writeInPlace);
}

TEST_F(ConfigurationRequestTest, PutsBackAWordWhoseWritingIsToldLate) {
  daemon.board.files.write("config/day.conf", "\n");
  std::ofstream other;
  // Behind the daemon's look at the request and before its answer.
  daemon.at(700ms, [&] {
    other.open(daemon.directory.requestFile);
    other << "day.conf" << std::flush;
  });
  const Answer answer = ask();
  EXPECT_EQ(answer.outcome, Outcome::kOvertaken);
  EXPECT_EQ(answer.word, "day.conf");
  other.close();
  daemon.pause(3s);
  EXPECT_EQ(daemon.board.main().confFileName, "day.conf");
}

TEST_F(ConfigurationRequestTest, TellsThatTheAnswerLiesOverAWordThatNobodyCouldRead) {
  daemon.at(1500ms, [this] {
    PacedDaemon::writeInPlace(daemon.directory.requestFile, "day.conf");
    PacedDaemon::writeInPlace(daemon.directory.requestFile, "PARSED");
  });
  EXPECT_EQ(ask().outcome, Outcome::kSwallowed);
}

// A daemon in the middle of a swap, which falls back to another scenario at its end.
class FallingBackTest : public ConfigurationRequestTest {
protected:
  FallingBackTest() {
    PacedDaemon::writeInPlace(daemon.directory.scenarioFile, "game");
    daemon.at(700ms, [this] { daemon.isRunning = false; });
    daemon.at(1600ms, [this] {
      daemon.board.files.read("config/night.conf");
      PacedDaemon::writeInPlace(daemon.directory.scenarioFile, "Default");
      PacedDaemon::writeInPlace(daemon.directory.requestFile, "PARSED");
    });
  }
  void askElsewhereForScenario(const std::string& name, std::chrono::milliseconds when) {
    daemon.at(when,
              [this, name] { PacedDaemon::writeInPlace(daemon.directory.scenarioFile, name); });
  }
  std::string scenario() { return daemon.board.files.read("wanted.scen"); }
};

TEST_F(FallingBackTest, LeavesWhatTheDaemonFallsBackTo) {
  EXPECT_EQ(ask().outcome, Outcome::kInForce);
  EXPECT_EQ(scenario(), "Default");
}

TEST_F(FallingBackTest, PutsBackTheScenarioThatAnotherHasAskedForMeanwhile) {
  askElsewhereForScenario("idle", 1200ms);
  EXPECT_EQ(ask().outcome, Outcome::kInForce);
  EXPECT_EQ(scenario(), "idle");
}

TEST_F(FallingBackTest, TellsThatAScenarioMayBeLostThatNobodyCouldRead) {
  askElsewhereForScenario("idle", 1560ms);
  EXPECT_EQ(ask().outcome, Outcome::kSwallowed);
}

TEST_F(ConfigurationRequestTest, TellsADaemonThatWasStartedAgainFromASwap) {
  daemon.at(700ms, [this] { daemon.isRunning = false; });
  daemon.at(900ms, [this] {
    PacedDaemon::writeInPlace(daemon.directory.requestFile, "PARSED");
    PacedDaemon::writeInPlace(daemon.directory.scenarioFile, "Default");
  });
  EXPECT_EQ(ask().outcome, Outcome::kRestarted);
}

TEST_F(ConfigurationRequestTest, DoesNotTakeAnotherWritersScenarioForAStart) {
  for (auto when = 1500ms; when <= 1650ms; when += 50ms)
    daemon.at(when, [this] { PacedDaemon::writeInPlace(daemon.directory.scenarioFile, "game"); });
  EXPECT_EQ(ask().outcome, Outcome::kInForce);
}

TEST_F(ConfigurationRequestTest, DoesNotWithdrawWhatAnotherHasAskedFor) {
  daemon.isRunning = false;
  daemon.at(3950ms, [this] { askElsewhere("day.conf"); });
  EXPECT_EQ(ask(4s).outcome, Outcome::kOvertaken);
  EXPECT_EQ(word(), "day.conf");
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
