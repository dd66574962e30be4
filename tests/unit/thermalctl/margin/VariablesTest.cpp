#include "margin/Variables.h"

#include <algorithm>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "support/LogSwitchedOff.h"
#include "thermalctl/simulate/RunFiles.h"
#include "thermalctl/support/Edit.h"

namespace {

class VariablesTest : public testing::Test {
protected:
  VariablesTest() {
    files.plant = "ambient = 20\n"
                  "[node.die]\njoules_per_kelvin = 2\n"
                  "[node.case]\njoules_per_kelvin = 50\ncelsius = 22\n"
                  "[[resistance]]\nbetween = [\"die\", \"case\"]\nkelvin_per_watt = 10\n"
                  "[[resistance]]\nbetween = [\"case\", \"ambient\"]\nkelvin_per_watt = 5\n"
                  "[source.gpu]\nnodes = { die = 0.75, case = 0.25 }\ndevice = \"gpu\"\n"
                  "law = { a = 0.5, b = 2, unit = 100 }\nwork = true\n"
                  "[source.lamp]\nnode = \"case\"\nwatts = 0\n"
                  "[sensor.cpu]\nnode = \"die\"\nnoise = 0.1\noffset = -1.5\n";
    files.workloadName = "workload.toml";
    files.workload = "[[at]]\ntime = 0\nload = { gpu = 0.5, lamp = 0.25 }\n";
    files.request.duration = 60'000;
  }

  std::vector<Variable> variables() {
    if (runs.empty()) runs = files.read();
    EXPECT_TRUE(files.problems.none()) << files.wrongInFull();
    return variablesOf(runs, files.plant, "plant.toml");
  }

  Variable variable(const std::string& name) {
    for (Variable& each : variables())
      if (each.name() == name) return std::move(each);
    ADD_FAILURE() << "there is no " << name;
    return {};
  }

  // The first run with that number.
  RunInput with(const std::string& name, const Drawn& drawn) {
    const Variable found = variable(name);
    RunInput unit = runs.front();
    found.set(unit, drawn);
    return unit;
  }

  static std::vector<Change> changesOf(const RunInput& run, Change::Kind kind, size_t index = 0) {
    std::vector<Change> all;
    for (const Change& change : run.workload.changes)
      if (change.kind == kind && change.index == index) all.push_back(change);
    return all;
  }

  const LogSwitchedOff quiet;
  RunFiles files;
  std::vector<RunInput> runs;
};

Drawn factor(double number) {
  return {Drawn::As::kFactor, number};
}

Drawn plus(double number) {
  return {Drawn::As::kPlus, number};
}

TEST_F(VariablesTest, AllNumbersOfABoardAreThereInTheOrderInWhichTheyAreSet) {
  std::vector<std::string> names;
  for (const Variable& each : variables())
    names.push_back(each.name());
  EXPECT_EQ(names, (std::vector<std::string>{"node.die.joules_per_kelvin",
                                             "node.die.celsius",
                                             "node.case.joules_per_kelvin",
                                             "node.case.celsius",
                                             "resistance.die-case",
                                             "resistance.case-ambient",
                                             "source.gpu.law.a",
                                             "source.gpu.law.b",
                                             "source.gpu.watts.0",
                                             "source.gpu.watts.1",
                                             "source.gpu.watts.2",
                                             "source.gpu.watts.3",
                                             "source.gpu.watts",
                                             "source.gpu.idle_watts",
                                             "source.gpu.speed.0",
                                             "source.gpu.speed.1",
                                             "source.gpu.speed.2",
                                             "source.gpu.speed.3",
                                             "source.gpu.nodes.case",
                                             "source.gpu.nodes.die",
                                             "workload.load.gpu",
                                             "workload.watts.gpu",
                                             "source.lamp.watts.0",
                                             "source.lamp.idle_watts",
                                             "workload.load.lamp",
                                             "workload.watts.lamp",
                                             "sensor.cpu.offset",
                                             "sensor.cpu.lag",
                                             "sensor.cpu.noise",
                                             "sensor.cpu.step",
                                             "ambient"}));
}

TEST_F(VariablesTest, EachHasTheValueOfTheFilesAndTheBoundsOfAPlant) {
  const struct {
    const char* name;
    std::optional<double> nominal;
    double least, most;
    const char* unit;
    bool mayBeZero;
  } cases[] = {{"node.die.joules_per_kelvin", 2, 1e-6, 1e9, "J/K", false},
               {"node.case.celsius", 22, -273.15, 1000, "degrees Celsius", false},
               {"resistance.case-ambient", 5, 1e-9, 1e9, "K/W", false},
               {"source.gpu.law.a", 0.5, 0, 1e6, "W", false},
               {"source.gpu.law.b", 2, 0, 1e12, "", false},
               {"source.gpu.watts", 2.5, 0, 1e6, "W", false},
               {"source.gpu.speed.1", 0.8, 0, 1, "", false},
               {"source.gpu.nodes.case", 0.25, 0, 1, "", false},
               {"workload.load.gpu", std::nullopt, 0, 1, "", false},
               {"workload.watts.gpu", std::nullopt, 0, 1e6, "W", false},
               {"sensor.cpu.offset", -1.5, -1000, 1000, "degrees", false},
               {"sensor.cpu.lag", 0, 1e-6, 1e6, "seconds", true},
               {"sensor.cpu.noise", 0.1, 0, 1000, "degrees", false},
               {"sensor.cpu.step", 0, 0.001, 1000, "degrees", true},
               {"ambient", 20, -273.15, 1000, "degrees Celsius", false}};
  for (const auto& [name, nominal, least, most, unit, mayBeZero] : cases) {
    const Variable found = variable(name);
    EXPECT_EQ(found.nominal, nominal) << name;
    EXPECT_EQ(found.bounds.least, least) << name;
    EXPECT_EQ(found.bounds.most, most) << name;
    EXPECT_STREQ(found.bounds.unit, unit) << name;
    EXPECT_EQ(found.bounds.mayBeZero, mayBeZero) << name;
  }
}

TEST_F(VariablesTest, AResistanceMayBeCalledFromEitherEnd) {
  const std::vector<std::string> names = variable("resistance.case-ambient").names;
  EXPECT_NE(std::find(names.begin(), names.end(), "resistance.ambient-case"), names.end());
}

TEST_F(VariablesTest, ALawsConstantMovesAllLevelsAndItsFactorWhatIsAboveIt) {
  const std::vector<double> nominal = (variables(), runs.front().plant.sources[0].watts);
  const RunInput more = with("source.gpu.law.a", plus(0.25));
  const RunInput steeper = with("source.gpu.law.b", factor(3));
  for (size_t level = 0; level < nominal.size(); ++level) {
    EXPECT_DOUBLE_EQ(more.plant.sources[0].watts[level], nominal[level] + 0.25);
    EXPECT_DOUBLE_EQ(steeper.plant.sources[0].watts[level], 0.5 + 3 * (nominal[level] - 0.5));
  }
}

TEST_F(VariablesTest, OneLevelOfASourceMovesAloneAndTheScaleMovesAll) {
  const std::vector<double> nominal = (variables(), runs.front().plant.sources[0].watts);
  const RunInput one = with("source.gpu.watts.2", plus(1));
  const RunInput all = with("source.gpu.watts", {Drawn::As::kValue, 5});
  for (size_t level = 0; level < nominal.size(); ++level) {
    EXPECT_DOUBLE_EQ(one.plant.sources[0].watts[level], nominal[level] + (level == 2 ? 1 : 0));
    EXPECT_DOUBLE_EQ(all.plant.sources[0].watts[level], 2 * nominal[level]);
  }
}

TEST_F(VariablesTest, WhatANodeGetsMoreOfTheOthersLoseInProportion) {
  edit(files.plant, "die = 0.75, case = 0.25", "die = 0.5, case = 0.3, lid = 0.2");
  files.plant += "[node.lid]\njoules_per_kelvin = 5\n"
                 "[[resistance]]\nbetween = [\"lid\", \"ambient\"]\nkelvin_per_watt = 10\n";
  const RunInput unit = with("source.gpu.nodes.die", {Drawn::As::kValue, 0.75});
  const auto& heats = unit.plant.sources[0].heats;
  ASSERT_EQ(heats.size(), 3U);
  const double shares[] = {0.75, 0.15, 0.1}; // of the die, the case and the lid
  for (const auto& [node, share] : heats)
    EXPECT_DOUBLE_EQ(share, shares[node]);
}

TEST_F(VariablesTest, CoresThatAreSwitchedOnHaveAShareForEachLevel) {
  edit(files.plant, "work = true",
       "work = true\ncores = { device = \"gpu\", share = [1, 0.5, 0.5, 0.5] }");
  EXPECT_EQ(variable("source.gpu.cores.share.1").nominal, 0.5);
  const RunInput unit = with("source.gpu.cores.share.1", {Drawn::As::kValue, 0.25});
  EXPECT_EQ(unit.plant.sources[0].cores->values, (std::vector<double>{1, 0.25, 0.5, 0.5}));
}

TEST_F(VariablesTest, ALoadChangesInAllOfTheWorkloadAndInThePlant) {
  edit(files.plant, "watts = 0\n", "watts = 0\nload = 0.5\n");
  files.workload = "[[at]]\ntime = 0\nload = { gpu = 0.5 }\n"
                   "[[at]]\ntime = 5\nload = { gpu = 0.75, lamp = 0.125 }\n";
  const RunInput gpu = with("workload.load.gpu", factor(1.5));
  EXPECT_EQ(changesOf(gpu, Change::Kind::kLoad, 0)[0].value, 0.75);
  EXPECT_EQ(changesOf(gpu, Change::Kind::kLoad, 0)[1].value, 1);
  EXPECT_EQ(changesOf(gpu, Change::Kind::kLoad, 1)[0].value, 0.125);
  EXPECT_EQ(gpu.plant.sources[1].load, 0.5);
  const RunInput lamp = with("workload.load.lamp", plus(-0.25));
  EXPECT_EQ(lamp.plant.sources[1].load, 0.25);
  EXPECT_EQ(changesOf(lamp, Change::Kind::kLoad, 1)[0].value, 0);
  EXPECT_EQ(changesOf(lamp, Change::Kind::kLoad, 0)[1].value, 0.75);
}

TEST_F(VariablesTest, MeasuredWattsStayAboveNothingAndAreNotBoundByALoads) {
  files.workloadName = "workload.csv";
  files.workload = "time,watts gpu,lamp\n0,0.5,1\n5,4,1\n";
  const RunInput less = with("workload.watts.gpu", plus(-1));
  EXPECT_EQ(changesOf(less, Change::Kind::kWatts)[0].value, 0);
  EXPECT_EQ(changesOf(less, Change::Kind::kWatts)[1].value, 3);
  EXPECT_EQ(changesOf(with("workload.watts.gpu", factor(2)), Change::Kind::kWatts)[1].value, 8);
}

TEST_F(VariablesTest, TheAmbientIsThatOfThePlantAndOfTheWorkload) {
  files.workload = "[[at]]\ntime = 0\nambient = 30\nload = { gpu = 0.5, lamp = 0.25 }\n"
                   "[[at]]\ntime = 5\nambient = 999\n";
  const RunInput unit = with("ambient", plus(3));
  EXPECT_EQ(unit.plant.ambient, 23);
  EXPECT_EQ(changesOf(unit, Change::Kind::kAmbient)[0].value, 33);
  EXPECT_EQ(changesOf(unit, Change::Kind::kAmbient)[1].value, 1000);
}

TEST_F(VariablesTest, AWorkloadsTimesAreHeldAgainstTheEarliestOfAllRuns) {
  files.workload +=
      "[[at]]\ntime = 20\nload = { gpu = 1 }\n[[at]]\ntime = 40\nload = { gpu = 0 }\n";
  EXPECT_EQ(variable("workload.time").nominal, 20);
  EXPECT_EQ(variable("workload.time").bounds.least, 0.001);
  runs.push_back(runs.front());
  for (Change& change : runs.back().workload.changes)
    change.time /= 8;
  EXPECT_EQ(variable("workload.time").nominal, 2.5);
}

TEST_F(VariablesTest, TimesMoveButForTheStartAndNeverBeforeIt) {
  files.workload +=
      "[[at]]\ntime = 20\nload = { gpu = 1 }\n[[at]]\ntime = 40\nload = { gpu = 0 }\n";
  const auto times = [&](const Drawn& drawn) {
    std::vector<int64_t> all;
    for (const Change& change : changesOf(with("workload.time", drawn), Change::Kind::kLoad))
      all.push_back(change.time);
    return all;
  };
  using Times = std::vector<int64_t>;
  EXPECT_EQ(times(factor(1.5)), (Times{0, 30'000, 60'000}));
  EXPECT_EQ(times(plus(-12.5)), (Times{0, 7'500, 27'500}));
  EXPECT_EQ(times(plus(-30)), (Times{0, 1, 10'000}));
}

TEST_F(VariablesTest, AWorkloadThatStartsAgainDoesSoAfterAllOfIt) {
  files.workload =
      "repeat = \"50s\"\n" + files.workload + "[[at]]\ntime = 40\nload = { gpu = 0 }\n";
  EXPECT_EQ(with("workload.time", factor(2)).workload.repeat, 100'000);
  EXPECT_EQ(with("workload.time", plus(5)).workload.repeat, 55'000);
  // All is at the first millisecond.
  EXPECT_EQ(with("workload.time", plus(-60)).workload.repeat, 2);
  EXPECT_EQ(with("ambient", plus(5)).workload.repeat, 50'000);
}

TEST_F(VariablesTest, ARampThatTheRepetitionEndsLeadsToWhereItLed) {
  files.workload = "repeat = 40\nramp = [\"ambient\"]\n"
                   "[[at]]\ntime = 0\nambient = 20\nload = { gpu = 0.5, lamp = 0.25 }\n"
                   "[[at]]\ntime = 10\nambient = 30\n[[at]]\ntime = 40\nambient = 18\n";
  const auto slopes = [](const RunInput& run) {
    std::vector<double> all;
    for (const Change& change : changesOf(run, Change::Kind::kAmbient))
      all.push_back(change.slope);
    return all;
  };
  const auto expectSlopes = [&](const RunInput& run, double first, double second) {
    ASSERT_EQ(slopes(run).size(), 2U);
    EXPECT_DOUBLE_EQ(slopes(run)[0], first);
    EXPECT_DOUBLE_EQ(slopes(run)[1], second);
  };
  variables();
  expectSlopes(runs.front(), 1, -0.4);
  expectSlopes(with("ambient", factor(1.5)), 1.5, -0.6);
  expectSlopes(with("workload.time", factor(2)), 0.5, -0.2);
  expectSlopes(with("workload.time", plus(5)), 10 / 15.0, -0.4);
  EXPECT_EQ(with("workload.time", plus(5)).workload.repeat, 45'000);
}

TEST_F(VariablesTest, APlantWithoutALawHasNone) {
  edit(files.plant, "law = { a = 0.5, b = 2, unit = 100 }",
       "watts = [4, 3, 2, 1]\nspeed = [1, 0.8, 0.6, 0.4]");
  for (const Variable& each : variables())
    EXPECT_EQ(each.name().find(".law."), std::string::npos) << each.name();
}

} // namespace
