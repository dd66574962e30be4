#include "sensor/Sensor.h"

#include <algorithm>
#include <cstdint>
#include <future>
#include <memory>

#include <gtest/gtest.h>

#include "support/CountingThread.h"
#include "support/Eventually.h"
#include "support/FixedSensor.h"
#include "support/Gate.h"
#include "support/LogSwitchedOff.h"
#include "support/PlainAlgo.h"
#include "support/RecordedLog.h"

namespace {

using Lines = std::vector<std::string>;

class SensorTest : public ::testing::Test {
protected:
  PlainAlgo& algo(const std::string& name, int32_t start, const std::string& scenario = "Default") {
    algos.push_back(std::make_unique<PlainAlgo>(name, scenario, start, sensor, thread));
    return *algos.back();
  }
  PlainAlgo& lowactiveAlgo(const std::string& name, int32_t start) {
    algos.push_back(std::make_unique<PlainAlgo>(name, "Default", start, sensor, thread, true));
    return *algos.back();
  }
  Lines scenarioNames() const {
    Lines names;
    for (const auto& [name, entry] : sensor.algorithms)
      names.push_back(name);
    return names;
  }

  CountingThread thread;
  FixedSensor sensor{"cpu"};
  std::vector<std::unique_ptr<PlainAlgo>> algos;
};

TEST_F(SensorTest, StartsSwitchedOffColdAndInTheDefaultScenario) {
  EXPECT_EQ(sensor.name, "cpu");
  EXPECT_EQ(sensor.sampling, 1000u);
  EXPECT_EQ(sensor.thread, nullptr);
  EXPECT_TRUE(sensor.algorithms.empty());
  EXPECT_FALSE(sensor.active);
  EXPECT_EQ(sensor.temperature, 0);
  EXPECT_EQ(sensor.oldScenario, "Default");
  EXPECT_EQ(sensor.scenario, "Default");
}

TEST_F(SensorTest, KeepsTheAlgorithmsOfAScenarioInTheOrderOfTheirRegistration) {
  PlainAlgo& second = algo("b", 0, "game");
  PlainAlgo& first = algo("a", 0, "game");
  sensor.insertAlgoItems(&second, "game");
  EXPECT_EQ(sensor.algorithms["game"], (std::vector<Algo*>{&second, &first, &second}));
}

TEST_F(SensorTest, OrdersItsScenariosByTheBytesOfTheirNames) {
  algo("x", 0, "game");
  algo("x", 0, "Zoo");
  algo("x", 0, "Default");
  algo("x", 0, "\xc3\xa4");
  EXPECT_EQ(scenarioNames(), (Lines{"Default", "Zoo", "game", "\xc3\xa4"}));
}

TEST_F(SensorTest, SwitchesItselfAndItsThreadOnOnlyOnce) {
  sensor.thread = &thread;
  sensor.activate();
  sensor.activate();
  EXPECT_TRUE(sensor.active);
  EXPECT_EQ(thread.activations, 1);
}

TEST_F(SensorTest, IsSwitchedOnWithoutAThread) {
  sensor.activate();
  EXPECT_TRUE(sensor.active);
}

TEST_F(SensorTest, WakesAnAlgorithmFromItsStartTemperatureOn) {
  const struct {
    int32_t start, temperature;
    bool wakes;
    const char* why;
  } cases[] = {
      {40000, 39999, false, "one below"},
      {40000, 40000, true, "equal counts as reached"},
      {40000, 40001, true, "one above"},
      {-5000, -5001, false, "one below a frosty start"},
      {-5000, -5000, true, "on a frosty start"},
      {0, 0, true, "a sensor that never read anything"},
      {INT32_MAX, INT32_MAX - 1, false, "just below the highest"},
      {INT32_MAX, INT32_MAX, true, "the highest"},
      {INT32_MIN, INT32_MIN, true, "the lowest"},
  };
  for (const auto& c : cases) {
    FixedSensor watched;
    PlainAlgo watching("item", "Default", c.start, watched, thread);
    watched.temperature = c.temperature;
    watched.traversItems();
    EXPECT_EQ(watching.active, c.wakes) << c.why;
    EXPECT_EQ(watching.activations, c.wakes ? 1 : 0) << c.why;
  }
}

TEST_F(SensorTest, WakesALowactiveAlgorithmFromItsStartTemperatureDown) {
  const struct {
    int32_t start, temperature;
    bool wakes;
    const char* why;
  } cases[] = {
      {5000, 5001, false, "one above"},
      {5000, 5000, true, "equal counts as reached"},
      {5000, 4999, true, "one below"},
      {-10000, -9999, false, "one above a frosty start"},
      {-10000, -10000, true, "on a frosty start"},
      {INT32_MAX, INT32_MAX, true, "any temperature is low enough"},
      {INT32_MIN, 0, true, "the lowest start wraps to the lowest stored one"},
      {0, INT32_MIN, false, "the lowest temperature wraps to itself"},
  };
  for (const auto& c : cases) {
    FixedSensor watched;
    PlainAlgo watching("item", "Default", c.start, watched, thread, true);
    watched.temperature = c.temperature;
    watched.traversItems();
    EXPECT_EQ(watching.active, c.wakes) << c.why;
  }
}

TEST_F(SensorTest, WakesEveryAlgorithmThatIsReachedAndLogsEach) {
  algo("first", 30000);
  algo("too_high", 50000);
  algo("second", 40000);
  lowactiveAlgo("too_cold", 10000);
  lowactiveAlgo("cold", 45000);
  sensor.temperature = 40000;
  RecordedLog log;
  sensor.traversItems();
  EXPECT_EQ(log.lines(),
            (Lines{"[TalmorThermal] Sensor [cpu] activate Algo [first], scen [Default]\n",
                   "[TalmorThermal] Sensor [cpu] activate Algo [second], scen [Default]\n",
                   "[TalmorThermal] Sensor [cpu] activate Algo [cold], scen [Default]\n"}));
}

TEST_F(SensorTest, LogsAnActivationBeforeItHappens) {
  RecordedLog log;
  size_t linesBefore = 0;
  algo("a", 0).onActivate = [&] { linesBefore = log.lines().size(); };
  sensor.traversItems();
  EXPECT_EQ(linesBefore, 1u);
}

TEST_F(SensorTest, WakesThroughTheAlgorithmsOwnActivation) {
  PlainAlgo& item = algo("a", 0);
  sensor.traversItems();
  EXPECT_EQ(item.activations, 1);
  EXPECT_EQ(thread.activations, 1);
}

TEST_F(SensorTest, NeitherWakesNorLogsAnAlgorithmThatIsAwake) {
  PlainAlgo& item = algo("a", 0);
  sensor.traversItems();
  RecordedLog log;
  sensor.traversItems();
  EXPECT_EQ(item.activations, 1);
  EXPECT_EQ(log.lines(), Lines{});
}

TEST_F(SensorTest, NeverPutsAnAlgorithmToSleepInItsWalk) {
  PlainAlgo& item = algo("a", 40000);
  sensor.temperature = 40000;
  sensor.traversItems();
  sensor.temperature = -40000;
  sensor.traversItems();
  EXPECT_TRUE(item.active);
  EXPECT_EQ(item.deactivations, 0);
  EXPECT_EQ(thread.deactivations, 0);
}

TEST_F(SensorTest, LeavesTheAlgorithmsOfOtherScenariosAsleep) {
  PlainAlgo& other = algo("a", 0, "game");
  PlainAlgo& own = algo("b", 0, "Default");
  sensor.traversItems();
  EXPECT_FALSE(other.active);
  EXPECT_TRUE(own.active);
}

TEST_F(SensorTest, EndsItsWalkAtANullEntry) {
  PlainAlgo& ahead = algo("a", 0);
  sensor.insertAlgoItems(nullptr, "Default");
  PlainAlgo& behind = algo("b", 0);
  sensor.traversItems();
  EXPECT_TRUE(ahead.active);
  EXPECT_FALSE(behind.active);
}

TEST_F(SensorTest, InsertsAnEmptyEntryForAScenarioWithoutAlgorithms) {
  RecordedLog log;
  sensor.traversItems();
  EXPECT_EQ(scenarioNames(), Lines{"Default"});
  EXPECT_TRUE(sensor.algorithms["Default"].empty());
  EXPECT_EQ(log.lines(), Lines{});
}

TEST_F(SensorTest, LeavesItsRegistryAloneAfterItsFirstWalkOrChangeOfScenario) {
  sensor.traversItems();
  sensor.algorithms.clear();
  sensor.traversItems();
  EXPECT_EQ(scenarioNames(), Lines{});
  FixedSensor changed;
  changed.changeScenario("game");
  EXPECT_EQ(changed.algorithms.count("game"), 1u);
  changed.algorithms.clear();
  changed.traversItems();
  EXPECT_TRUE(changed.algorithms.empty());
}

TEST_F(SensorTest, FindsAnAlgorithmThatRegistersAfterTheFirstWalk) {
  sensor.traversItems();
  PlainAlgo& late = algo("late", 0);
  sensor.traversItems();
  EXPECT_TRUE(late.active);
}

TEST_F(SensorTest, WakesTheAlgorithmsOfTheScenarioPutInForce) {
  PlainAlgo& before = algo("a", 40000);
  PlainAlgo& after = algo("b", 30000, "game");
  sensor.traversItems();
  sensor.changeScenario("game");
  sensor.temperature = 50000;
  RecordedLog log;
  sensor.traversItems();
  EXPECT_EQ(sensor.scenario, "game");
  EXPECT_EQ(sensor.oldScenario, "Default");
  EXPECT_FALSE(before.active);
  EXPECT_TRUE(after.active);
  EXPECT_EQ(log.lines(), Lines{"[TalmorThermal] Sensor [cpu] activate Algo [b], scen [game]\n"});
}

TEST_F(SensorTest, PutsAScenarioInForceThatHoldsANullEntry) {
  PlainAlgo& ahead = algo("a", 0, "game");
  sensor.insertAlgoItems(nullptr, "game");
  PlainAlgo& behind = algo("b", 0, "game");
  sensor.changeScenario("game");
  sensor.traversItems();
  EXPECT_TRUE(ahead.active);
  EXPECT_FALSE(behind.active);
}

TEST_F(SensorTest, WritesNoLineWithLoggingOff) {
  algo("a", 0);
  const LogSwitchedOff off;
  RecordedLog log;
  sensor.traversItems();
  sensor.deactivateOldScen();
  EXPECT_EQ(log.lines(), Lines{});
  EXPECT_EQ(algos[0]->activations, 1);
  EXPECT_EQ(algos[0]->deactivations, 1);
}

TEST_F(SensorTest, PutsTheAwakeAlgorithmsOfTheOldScenarioToSleepAndLogsEach) {
  PlainAlgo& awake = algo("a", 0);
  PlainAlgo& asleep = algo("b", 90000);
  PlainAlgo& alsoAwake = algo("c", 0);
  PlainAlgo& other = algo("d", 0, "game");
  sensor.traversItems();
  sensor.changeScenario("game");
  sensor.traversItems();
  RecordedLog log;
  sensor.deactivateOldScen();
  EXPECT_EQ(log.lines(),
            (Lines{"[TalmorThermal] Sensor [cpu] deactivate Algo [a], scen [Default]\n",
                   "[TalmorThermal] Sensor [cpu] deactivate Algo [c], scen [Default]\n"}));
  EXPECT_FALSE(awake.active);
  EXPECT_FALSE(alsoAwake.active);
  EXPECT_EQ(asleep.deactivations, 0);
  EXPECT_TRUE(other.active);
  EXPECT_EQ(sensor.oldScenario, "Default");
}

TEST_F(SensorTest, EndsTheDeactivationAtANullEntry) {
  PlainAlgo& ahead = algo("a", 0);
  PlainAlgo& behind = algo("b", 0);
  sensor.traversItems();
  sensor.algorithms["Default"] = {&ahead, nullptr, &behind};
  sensor.deactivateOldScen();
  EXPECT_FALSE(ahead.active);
  EXPECT_TRUE(behind.active);
}

TEST_F(SensorTest, InsertsAnEmptyEntryForAnOldScenarioThatIsMissing) {
  sensor.deactivateOldScen();
  EXPECT_EQ(scenarioNames(), Lines{"Default"});
  EXPECT_TRUE(sensor.algorithms["Default"].empty());
}

TEST_F(SensorTest, MovesEveryScenarioUnderItsPrefixedName) {
  PlainAlgo& first = algo("a", 0);
  PlainAlgo& second = algo("b", 0);
  PlainAlgo& other = algo("c", 0, "game");
  sensor.algorithms["empty"];
  sensor.addPrefixScenName("OLDSCEN_");
  EXPECT_EQ(scenarioNames(), (Lines{"OLDSCEN_Default", "OLDSCEN_empty", "OLDSCEN_game"}));
  EXPECT_EQ(sensor.algorithms["OLDSCEN_Default"], (std::vector<Algo*>{&first, &second}));
  EXPECT_EQ(sensor.algorithms["OLDSCEN_game"], std::vector<Algo*>{&other});
  EXPECT_TRUE(sensor.algorithms["OLDSCEN_empty"].empty());
  EXPECT_EQ(sensor.scenario, "Default");
  EXPECT_EQ(sensor.oldScenario, "Default");
}

TEST_F(SensorTest, PrefixesANameThatIsPrefixedAlready) {
  algo("a", 0, "game");
  algo("b", 0, "OLDSCEN_game");
  sensor.addPrefixScenName("OLDSCEN_");
  EXPECT_EQ(scenarioNames(), (Lines{"OLDSCEN_OLDSCEN_game", "OLDSCEN_game"}));
  EXPECT_EQ(sensor.algorithms["OLDSCEN_game"][0], algos[0].get());
}

TEST_F(SensorTest, GoesOnWakingTheAlgorithmsInForceUnderTheirPrefixedName) {
  PlainAlgo& running = algo("a", 40000);
  sensor.traversItems();
  sensor.addPrefixScenName("OLDSCEN_");
  sensor.changeScenario("OLDSCEN_Default");
  sensor.temperature = 40000;
  RecordedLog log;
  sensor.traversItems();
  EXPECT_TRUE(running.active);
  EXPECT_EQ(log.lines(),
            Lines{"[TalmorThermal] Sensor [cpu] activate Algo [a], scen [OLDSCEN_Default]\n"});
}

TEST_F(SensorTest, DropsEveryScenarioWhoseNameHoldsTheRetiredMarkAnywhere) {
  const struct {
    const char* name;
    bool dropped;
  } cases[] = {
      {"OLDSCEN_game", true},  {"OLDSCEN_", true},       {"myOLDSCEN_game", true},
      {"gameOLDSCEN_", true},  {"OLDSCEN", false},       {"oldscen_game", false},
      {"OLDSCENgame_", false}, {"OLDSCE_N_game", false}, {"", false},
  };
  for (const auto& c : cases) {
    FixedSensor watched;
    PlainAlgo watching("item", c.name, 0, watched, thread);
    watched.destroyOldScens();
    EXPECT_EQ(watched.algorithms.count(c.name), c.dropped ? 0u : 1u) << c.name;
    EXPECT_EQ(watching.old, c.dropped) << c.name;
  }
}

TEST_F(SensorTest, MarksEveryAlgorithmOfADroppedScenarioPastANullEntryToo) {
  PlainAlgo& ahead = algo("a", 0, "OLDSCEN_Default");
  sensor.insertAlgoItems(nullptr, "OLDSCEN_Default");
  PlainAlgo& behind = algo("b", 0, "OLDSCEN_Default");
  PlainAlgo& kept = algo("c", 0, "game");
  sensor.destroyOldScens();
  EXPECT_TRUE(ahead.old);
  EXPECT_TRUE(behind.old);
  EXPECT_FALSE(kept.old);
}

TEST_F(SensorTest, KeepsTheOtherScenariosWithTheirAlgorithms) {
  PlainAlgo& kept = algo("a", 0);
  PlainAlgo& alsoKept = algo("b", 0, "game");
  algo("c", 0, "OLDSCEN_Default");
  sensor.traversItems();
  sensor.destroyOldScens();
  EXPECT_EQ(scenarioNames(), (Lines{"Default", "game"}));
  EXPECT_EQ(sensor.algorithms["Default"], std::vector<Algo*>{&kept});
  EXPECT_EQ(sensor.algorithms["game"], std::vector<Algo*>{&alsoKept});
}

TEST_F(SensorTest, GoesOnWakingTheScenarioInForceAfterTheOthersAreDropped) {
  PlainAlgo& inForce = algo("a", 40000);
  algo("b", 0, "OLDSCEN_Default");
  sensor.traversItems();
  sensor.destroyOldScens();
  sensor.temperature = 40000;
  sensor.traversItems();
  EXPECT_TRUE(inForce.active);
}

TEST_F(SensorTest, WakesNothingOnceTheScenarioInForceIsDropped) {
  PlainAlgo& dropped = algo("a", 0, "my_OLDSCEN_one");
  sensor.changeScenario("my_OLDSCEN_one");
  sensor.destroyOldScens();
  sensor.traversItems();
  EXPECT_TRUE(dropped.old);
  EXPECT_FALSE(dropped.active);
  EXPECT_EQ(scenarioNames(), Lines{"my_OLDSCEN_one"});
  EXPECT_TRUE(sensor.algorithms["my_OLDSCEN_one"].empty());
}

TEST_F(SensorTest, WalksOnWhileAlgorithmsRegisterForTheScenarioInForce) {
  PlainAlgo& first = algo("a", 0, "OLDSCEN_Default");
  sensor.changeScenario("OLDSCEN_Default");
  Gate gate;
  gate.close();
  first.onActivate = [&gate] { gate.pass(); };
  const std::future<void> sample =
      std::async(std::launch::async, [this] { sensor.traversItems(); });
  ASSERT_TRUE(eventually([&] { return gate.holdsAThread(); }));
  // As the reader of a new configuration may: more than the list has room for.
  const std::future<void> reading = std::async(std::launch::async, [this] {
    for (int i = 0; i < 100; ++i)
      algo("late", 0, "OLDSCEN_Default");
  });
  EXPECT_TRUE(staysUnderWay(reading)) << "what the sample walks stays until its end";
  gate.open();
  ASSERT_TRUE(eventually([&] { return isOver(sample) && isOver(reading); }));
  EXPECT_EQ(sensor.algorithms["OLDSCEN_Default"].size(), 101u);
  sensor.traversItems();
  EXPECT_EQ(std::count_if(algos.begin(), algos.end(), [](const auto& a) { return !!a->active; }),
            101);
}

TEST_F(SensorTest, KnowsWhichAlgorithmsAreInForce) {
  PlainAlgo& calm = algo("a", 0);
  PlainAlgo& wild = algo("b", 0, "game");
  EXPECT_TRUE(calm.inForce);
  EXPECT_FALSE(wild.inForce);
  sensor.changeScenario("game");
  EXPECT_FALSE(calm.inForce);
  EXPECT_TRUE(wild.inForce);
  sensor.changeScenario("Default");
  EXPECT_TRUE(calm.inForce);
  EXPECT_FALSE(wild.inForce);
}

TEST_F(SensorTest, TellsAnAlgorithmThatIsStillAwakeThatItsScenarioHasReturned) {
  PlainAlgo& awake = algo("a", 0);
  PlainAlgo& asleep = algo("b", 90000);
  sensor.traversItems();
  EXPECT_FALSE(awake.returned);
  sensor.changeScenario("game");
  EXPECT_FALSE(awake.returned) << "not when it goes";
  sensor.changeScenario("Default");
  EXPECT_TRUE(awake.returned);
  EXPECT_FALSE(asleep.returned);
}

TEST_F(SensorTest, LeavesItsAlgorithmsAsTheyAreWhenTheScenarioIsOnlyRenamed) {
  PlainAlgo& awake = algo("a", 0);
  sensor.traversItems();
  sensor.addPrefixScenName("OLDSCEN_");
  sensor.changeScenario("OLDSCEN_Default");
  EXPECT_TRUE(awake.inForce);
  EXPECT_FALSE(awake.returned);
}

TEST_F(SensorTest, CallsNoAlgorithmUndecidedThatIsWokenAsTheScenarioIsOnlyRenamed) {
  PlainAlgo& item = algo("a", 1000);
  sensor.addPrefixScenName("OLDSCEN_");
  sensor.changeScenario("OLDSCEN_Default");
  sensor.temperature = 1000;
  sensor.traversItems();
  EXPECT_TRUE(item.active);
  EXPECT_FALSE(item.undecided);
}

TEST_F(SensorTest, CallsOnlyAnAlgorithmUndecidedThatTheChangeOfItsScenarioWakes) {
  PlainAlgo& before = algo("a", 0);
  sensor.traversItems();
  EXPECT_FALSE(before.undecided) << "woken by an ordinary sample";
  PlainAlgo& woken = algo("b", 0, "game");
  PlainAlgo& later = algo("c", 1000, "game");
  sensor.changeScenario("game");
  sensor.traversItems();
  EXPECT_TRUE(woken.undecided);
  sensor.deactivateOldScen();
  sensor.temperature = 1000;
  sensor.traversItems();
  EXPECT_TRUE(later.active);
  EXPECT_FALSE(later.undecided) << "woken by a sample after the change";
}

TEST_F(SensorTest, ForgetsAnEarlierChangeThatAnAlgorithmNeverDecidedIn) {
  PlainAlgo& item = algo("a", 0, "game");
  sensor.changeScenario("game");
  sensor.traversItems();
  ASSERT_TRUE(item.undecided);
  sensor.changeScenario("Default");
  sensor.changeScenario("game");
  EXPECT_FALSE(item.undecided);
}

TEST_F(SensorTest, LeavesItsAlgorithmsToTheirWorkers) {
  auto watched = std::make_unique<FixedSensor>();
  PlainAlgo kept("item", "Default", 0, *watched, thread);
  watched.reset();
  EXPECT_EQ(kept.name, "item");
}

} // namespace
