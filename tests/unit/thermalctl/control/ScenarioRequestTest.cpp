#include "control/ScenarioRequest.h"

#include <unistd.h>

#include <fstream>
#include <set>

#include <gtest/gtest.h>

#include "thermalctl/control/PacedDaemon.h"

namespace {

using namespace std::chrono_literals;

class ScenarioRequestTest : public ::testing::Test {
protected:
  Answer ask(const std::string& name, std::chrono::milliseconds timeout = 10s) {
    return askForScenario(daemon.directory, name, timeout, daemon);
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
    EXPECT_EQ(askForScenario(other.directory, "game", 10s, other).outcome, Outcome::kInForce);
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
  EXPECT_LE(daemon.passed(), 1s);
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

// At each moment from before its own word to behind its end.
void overtakeScenarioAtEachMoment(void (*write)(const std::string&, const std::string&)) {
  for (auto when = 50ms; when < 2800ms; when += 150ms) {
    PacedDaemon daemon;
    daemon.at(when, [&] { write(daemon.directory.scenarioFile, "Default"); });
    const Answer answer = askForScenario(daemon.directory, "game", 10s, daemon);
    if (answer.outcome == Outcome::kInForce) {
      // It was over before.
      EXPECT_LE(daemon.passed(), when) << when.count();
      EXPECT_EQ(daemon.scenarioInForce(), "game") << when.count();
    } else {
      EXPECT_EQ(answer.outcome, Outcome::kOvertaken) << when.count();
      EXPECT_EQ(answer.word, "Default") << when.count();
    }
    daemon.pause(5s);
    EXPECT_EQ(daemon.scenarioInForce(), "Default") << when.count();
  }
}

TEST_F(ScenarioRequestTest, NeverLosesTheWordOfOneWhoRenames) {
  overtakeScenarioAtEachMoment(PacedDaemon::writeElsewhere);
}

TEST_F(ScenarioRequestTest, NeverLosesTheWordOfOneWhoWritesInPlace) {
  overtakeScenarioAtEachMoment(PacedDaemon::writeInPlace);
}

TEST_F(ScenarioRequestTest, WritesNothingButTheName) {
  std::set<std::string> seen;
  for (auto when = 0ms; when < 3s; when += 50ms)
    daemon.at(when, [&] { seen.insert(word()); });
  ask("game");
  EXPECT_EQ(seen, (std::set<std::string>{"game"}));
}

TEST_F(ScenarioRequestTest, LetsTheDaemonSeeAWordThatIsNewBeforeItTakesItsPlace) {
  daemon.board.main().scenarios["night"] = new Scenario("night", false);
  askElsewhere("night");
  std::string atFirst;
  daemon.at(400ms, [&] { atFirst = word(); });
  std::set<std::string> inForce;
  for (auto when = 0ms; when < 5s; when += 50ms)
    daemon.at(when, [&] { inForce.insert(daemon.scenarioInForce()); });
  EXPECT_EQ(ask("game").outcome, Outcome::kInForce);
  EXPECT_EQ(atFirst, "night");
  EXPECT_EQ(inForce, (std::set<std::string>{"Default", "night", "game"}));
}

TEST_F(ScenarioRequestTest, LeavesAWordWhoseWritingIsToldLateToTheDaemon) {
  askElsewhere("game"); // too new to be replaced before the daemon has looked at it
  std::ofstream other;
  daemon.behindCycle = [&] {
    if (other.is_open()) return;
    other.open(daemon.directory.scenarioFile);
    other << "camera" << std::flush;
  };
  daemon.board.main().scenarios["camera"] = new Scenario("camera", false);
  std::string seen;
  daemon.at(1300ms, [&] { seen = word(); });
  ask("Default");
  EXPECT_EQ(seen, "camera");
}

TEST_F(ScenarioRequestTest, PutsBackTheWordOfOneWhoHadTheFileOpenStill) {
  std::ofstream late(daemon.directory.scenarioFile, std::ios::app);
  daemon.at(100ms, [&] { late << " " << std::flush; });
  const Answer answer = ask("game");
  EXPECT_EQ(answer.outcome, Outcome::kOvertaken);
  EXPECT_EQ(answer.word, "Default");
  EXPECT_EQ(word(), "Default");
}

TEST_F(ScenarioRequestTest, TellsThatTheAnswerLiesOverAnotherWritersWord) {
  daemon.isRunning = false;
  daemon.at(500ms, [this] {
    ControlFile(daemon.directory.scenarioFile).word();
    PacedDaemon::writeInPlace(daemon.directory.scenarioFile, "night");
    PacedDaemon::writeInPlace(daemon.directory.scenarioFile, "Default");
    ControlFile(daemon.directory.requestFile).word();
  });
  EXPECT_EQ(ask("arcade").outcome, Outcome::kSwallowed);
}

TEST_F(ScenarioRequestTest, IsNotFooledByOthersWhoReadTheFiles) {
  // In the daemon's order and more often than it does.
  for (auto when = 0ms; when < 8s; when += 300ms)
    daemon.at(when, [this] { daemon.readElsewhere(); });
  daemon.isRunning = false;
  EXPECT_EQ(ask("game", 8s).outcome, Outcome::kNoAnswer);
}

TEST_F(ScenarioRequestTest, IsNotFooledByOneWhoReadsTheFilesWhileTheSwitchHangs) {
  daemon.at(700ms, [this] { daemon.isRunning = false; });
  for (auto when = 0ms; when < 8s; when += 1000ms)
    daemon.at(when, [this] { daemon.readElsewhere(); });
  EXPECT_EQ(ask("game", 8s).outcome, Outcome::kNoAnswer);
}

TEST_F(ScenarioRequestTest, FindsTheDaemonAmongOthersWhoReadTheFiles) {
  for (auto when = 0ms; when < 8s; when += 330ms)
    daemon.at(when, [this] { ControlFile(daemon.directory.scenarioFile).word(); });
  EXPECT_EQ(ask("game").outcome, Outcome::kInForce);
  EXPECT_EQ(daemon.scenarioInForce(), "game");
  EXPECT_LE(daemon.passed(), 3s + 100ms);
}

TEST_F(ScenarioRequestTest, LeavesItsWordThoughTheOneThereWasNeverLookedAt) {
  daemon.isRunning = false;
  askElsewhere("Default");
  EXPECT_EQ(ask("game", 1s).outcome, Outcome::kNoAnswer);
  EXPECT_EQ(word(), "game");
}

TEST_F(ScenarioRequestTest, AgreesWithAnotherWriterWhoAsksForTheSame) {
  for (const auto when : {100ms, 700ms, 1400ms})
    daemon.at(when, [this] { askElsewhere("game"); });
  EXPECT_EQ(ask("game").outcome, Outcome::kInForce);
  EXPECT_EQ(daemon.scenarioInForce(), "game");
}

TEST_F(ScenarioRequestTest, MakesAFileThatIsMissing) {
  ::unlink(daemon.directory.scenarioFile.c_str());
  EXPECT_EQ(ask("game").outcome, Outcome::kInForce);
}

TEST_F(ScenarioRequestTest, SaysWhyItCannotWrite) {
  const Answer answer =
      askForScenario(ControlDirectory(daemon.board.files.node("no")), "game", 10s, daemon);
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
