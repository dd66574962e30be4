#include "control/ScenarioRequest.h"

#include <unistd.h>

#include <gtest/gtest.h>

#include "thermalctl/control/PacedDaemon.h"

namespace {

using namespace std::chrono_literals;

class ScenarioRequestTest : public ::testing::Test {
protected:
  Answer ask(const std::string& name, std::chrono::milliseconds timeout = 10s) {
    ControlFile file(daemon.directory.scenarioFile);
    return askForScenario(file, name, timeout, daemon);
  }
  std::string word() { return daemon.board.files.read("wanted.scen"); }
  void askElsewhere(const std::string& name) {
    daemon.writeElsewhere(daemon.directory.scenarioFile, name);
  }

  PacedDaemon daemon;
};

TEST_F(ScenarioRequestTest, EndsWhenTheScenarioIsInForce) {
  EXPECT_EQ(ask("game").outcome, Outcome::kInForce);
  EXPECT_EQ(daemon.scenarioInForce(), "game");
  EXPECT_EQ(word(), "game");
}

TEST_F(ScenarioRequestTest, TakesThreeOfTheDaemonsLooksWheneverItComes) {
  for (const auto untilFirstCycle : {0ms, 50ms, 500ms, 950ms, 1000ms}) {
    PacedDaemon other(untilFirstCycle);
    ControlFile file(other.directory.scenarioFile);
    EXPECT_EQ(askForScenario(file, "game", 10s, other).outcome, Outcome::kInForce);
    EXPECT_LE(other.passed(), 3s + 100ms);
    EXPECT_GE(other.passed(), 2s);
  }
}

TEST_F(ScenarioRequestTest, EndsForTheScenarioThatIsInForceAlready) {
  EXPECT_EQ(ask("Default").outcome, Outcome::kInForce);
  EXPECT_EQ(word(), "Default");
}

TEST_F(ScenarioRequestTest, EndsForADefaultThatIsInForceWithoutBeingDeclared) {
  delete daemon.board.main().scenarios["Default"];
  daemon.board.main().scenarios.erase("Default");
  EXPECT_EQ(ask("Default").outcome, Outcome::kInForce);
}

TEST_F(ScenarioRequestTest, TellsARefusalAndWhatStaysInForce) {
  const Answer answer = ask("arcade");
  EXPECT_EQ(answer.outcome, Outcome::kRefused);
  EXPECT_EQ(answer.word, "Default");
  EXPECT_EQ(word(), "Default");
  EXPECT_LE(daemon.passed(), 2s + 100ms);
}

TEST_F(ScenarioRequestTest, IsNotRefusedByTheAnswerToAnEarlierWord) {
  // In the moment in which the daemon has read an unknown word and not yet answered it.
  daemon.at(50ms, [this] { daemon.board.files.write("wanted.scen", "Default"); });
  EXPECT_EQ(ask("game").outcome, Outcome::kInForce);
  EXPECT_EQ(daemon.scenarioInForce(), "game");
}

TEST_F(ScenarioRequestTest, WaitsForASwitchThatIsDueAlready) {
  daemon.board.main().scenarios["night"] = new Scenario("night", false);
  daemon.board.scenarioThread().requestedScenName = "night";
  EXPECT_EQ(ask("game").outcome, Outcome::kInForce);
  EXPECT_EQ(daemon.scenarioInForce(), "game");
}

TEST_F(ScenarioRequestTest, GivesASlowDaemonMoreTime) {
  daemon.period = 2700ms;
  EXPECT_EQ(ask("game", 30s).outcome, Outcome::kInForce);
  EXPECT_EQ(daemon.scenarioInForce(), "game");
}

TEST_F(ScenarioRequestTest, GivesUpOnADeadDaemonWhenItsTimeIsOver) {
  daemon.isRunning = false;
  EXPECT_EQ(ask("game", 4s).outcome, Outcome::kNoAnswer);
  EXPECT_GE(daemon.passed(), 4s);
  EXPECT_LE(daemon.passed(), 4s + 50ms);
}

TEST_F(ScenarioRequestTest, LeavesItsWordForADaemonThatIsOnlySlow) {
  daemon.isRunning = false;
  ask("game", 4s);
  EXPECT_EQ(word(), "game");
}

TEST_F(ScenarioRequestTest, FindsADaemonThatComesBack) {
  daemon.isRunning = false;
  daemon.at(5s, [this] { daemon.isRunning = true; });
  EXPECT_EQ(ask("game", 12s).outcome, Outcome::kInForce);
  EXPECT_EQ(daemon.scenarioInForce(), "game");
}

TEST_F(ScenarioRequestTest, TellsWhenAnotherWriterAsksForAnotherScenario) {
  daemon.board.main().scenarios["night"] = new Scenario("night", false);
  for (const auto when : {100ms, 700ms, 1400ms}) {
    PacedDaemon other;
    other.board.main().scenarios["night"] = new Scenario("night", false);
    other.at(when, [&] { other.writeElsewhere(other.directory.scenarioFile, "night"); });
    ControlFile file(other.directory.scenarioFile);
    const Answer answer = askForScenario(file, "game", 10s, other);
    EXPECT_EQ(answer.outcome, Outcome::kOvertaken);
    EXPECT_EQ(answer.word, "night");
    EXPECT_EQ(other.board.files.read("wanted.scen"), "night");
  }
}

TEST_F(ScenarioRequestTest, AgreesWithAnotherWriterWhoAsksForTheSame) {
  for (const auto when : {100ms, 700ms, 1400ms})
    daemon.at(when, [this] { askElsewhere("game"); });
  EXPECT_EQ(ask("game").outcome, Outcome::kInForce);
  EXPECT_EQ(daemon.scenarioInForce(), "game");
}

TEST_F(ScenarioRequestTest, IsNotMistakenAboutAnotherOnesQuestion) {
  daemon.at(100ms, [this] { askElsewhere("ENOFILE"); });
  EXPECT_EQ(ask("game").outcome, Outcome::kInForce);
  EXPECT_EQ(daemon.scenarioInForce(), "game");
}

TEST_F(ScenarioRequestTest, MakesAFileThatIsMissing) {
  ::unlink(daemon.directory.scenarioFile.c_str());
  EXPECT_EQ(ask("game").outcome, Outcome::kInForce);
}

TEST_F(ScenarioRequestTest, SaysWhyItCannotWrite) {
  ControlFile file(daemon.board.files.node("no/such/file"));
  const Answer answer = askForScenario(file, "game", 10s, daemon);
  EXPECT_EQ(answer.outcome, Outcome::kNotWritten);
  EXPECT_EQ(answer.error, std::errc::no_such_file_or_directory);
  EXPECT_EQ(daemon.passed(), 0ms);
}

TEST_F(ScenarioRequestTest, TellsWhatItWaitsFor) {
  ask("game");
  EXPECT_EQ(daemon.stages,
            (std::vector<std::string>{"asking for game", "waiting for the switch to game"}));
}

} // namespace
