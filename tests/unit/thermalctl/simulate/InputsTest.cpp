#include "simulate/Inputs.h"

#include <map>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "support/LogSwitchedOff.h"
#include "thermalctl/simulate/RunFiles.h"

namespace {

class InputsTest : public testing::Test {
protected:
  LogSwitchedOff noLog;
  RunFiles files;
};

TEST_F(InputsTest, EveryConfigurationIsARunOfItsOwn) {
  files.add("a.conf", files.configuration);
  files.add("b.conf", files.configuration);
  files.request.configurations = {files.path("a.conf"), files.path("b.conf")};
  const std::vector<RunInput> runs = files.read();
  ASSERT_TRUE(files.problems.none());
  ASSERT_EQ(runs.size(), 2U);
  EXPECT_EQ(runs[0].description.name, "a.conf");
  EXPECT_EQ(runs[1].description.name, "b.conf");
}

TEST_F(InputsTest, AConfigurationThatIsAskedForTwiceIsOneRun) {
  files.add("a.conf", files.configuration);
  files.request.configurations = {files.path("a.conf"), files.path("./a.conf"),
                                  files.path("a.conf")};
  const SimulationInputs inputs = files.readAll();
  ASSERT_TRUE(files.problems.none());
  ASSERT_EQ(inputs.runs.size(), 1U);
  EXPECT_EQ(inputs.runs[0].description.name, "a.conf");
  EXPECT_EQ(inputs.configurations, std::vector<std::string>{files.path("a.conf")});
}

TEST_F(InputsTest, NamesEveryConfigurationThatTheDaemonMayRead) {
  files.add("night.conf", files.configuration);
  files.workload = "time,configuration\n0,night.conf\n1,talmor-thermal_default.conf\n";
  EXPECT_EQ(files.readAll().configurations,
            (std::vector<std::string>{files.path("first.conf"), files.path("night.conf")}));
}

TEST_F(InputsTest, AScenarioOrAConfigurationWithASlipIsToldWithWhatWasMeant) {
  files.configuration = "SCEN Default\n" + files.configuration;
  files.add("night.conf", files.configuration);
  files.workload = "time,scenario,configuration\n0,Defualt,nihgt.conf\n";
  EXPECT_EQ(files.wrongInFull(),
            "workload.csv:2:3: error: no configuration declares the scenario 'Defualt'\n"
            "    2 | 0,Defualt,nihgt.conf\n"
            "      |   ^~~~~~~\n"
            "      hint: did you mean 'Default'?\n"
            "workload.csv:2:11: error: there is no configuration 'nihgt.conf' beside first.conf\n"
            "    2 | 0,Defualt,nihgt.conf\n"
            "      |           ^~~~~~~~~~\n"
            "      hint: did you mean 'night.conf'?\n");
}

// The board's sensor "cpu" reads the node "die"; no sensor reads "case".
class LimitsTest : public InputsTest {
protected:
  LimitsTest() {
    files.plant += "[node.case]\njoules_per_kelvin = 70\n"
                   "[[resistance]]\nbetween = [\"case\", \"die\"]\nkelvin_per_watt = 1\n";
  }

  void ask(const std::vector<std::string>& limits,
           const std::vector<std::string>& requirements = {}) {
    files.request.budgets.clear();
    for (const std::string& text : limits)
      files.request.budgets.push_back({*readLimit(text).budget, "--limit " + text});
    for (const std::string& text : requirements)
      files.request.budgets.push_back({*readRequirement(text).budget, "--require " + text});
  }

  std::vector<std::string> budgets() {
    std::vector<std::string> texts;
    for (const Budget& budget : files.read().front().description.budgets)
      texts.push_back(textOf(budget));
    return texts;
  }

  // By name; those without a limit are left out.
  std::map<std::string, int32_t> limitsWith(const std::vector<std::string>& asked) {
    ask(asked);
    std::map<std::string, int32_t> limits;
    const std::vector<RunInput> runs = files.read();
    if (runs.empty()) return limits;
    for (const SensorTrack& track : runs[0].description.sensors)
      if (track.limit) limits[track.name] = *track.limit;
    return limits;
  }

  using Limits = std::map<std::string, int32_t>;
};

TEST_F(LimitsTest, OfASensorIsAlsoThatOfItsNode) {
  EXPECT_EQ(limitsWith({"cpu=90C"}), (Limits{{"cpu", 90000}, {"die", 90000}}));
}

TEST_F(LimitsTest, OfANodeIsItsOwnAlone) {
  EXPECT_EQ(limitsWith({"node:die=90C"}), (Limits{{"die", 90000}}));
  EXPECT_EQ(limitsWith({"case=43C"}), (Limits{{"case", 43000}}));
}

TEST_F(LimitsTest, TheTightestHolds) {
  EXPECT_EQ(limitsWith({"cpu=90C", "node:die=80C", "cpu=95C"}),
            (Limits{{"cpu", 90000}, {"die", 80000}}));
  EXPECT_EQ(limitsWith({"cpu=70C", "node:die=80C"}), (Limits{{"cpu", 70000}, {"die", 70000}}));
}

TEST_F(LimitsTest, OfNothingAreWrong) {
  ask({"cqu=43C", "node:csae=43C", "node:cpu=43C"});
  EXPECT_EQ(files.wrongInFull(),
            "--limit cqu=43C: error: the board has no sensor and the plant no node 'cqu'\n"
            "      hint: did you mean 'cpu'?\n"
            "--limit node:cpu=43C: error: the plant has no node 'cpu'\n"
            "      hint: there are 'die' and 'case'\n"
            "--limit node:csae=43C: error: the plant has no node 'csae'\n"
            "      hint: did you mean 'case'?\n");
}

TEST_F(LimitsTest, OfEveryKindAreOfTheSensorAndOfItsNode) {
  ask({"cpu=90C", "cpu=80C:60s", "p95:cpu=70C", "node:die=90C", "p95:case=40C"},
      {"changes:gpu<=6/min"});
  EXPECT_EQ(budgets(),
            (std::vector<std::string>{"cpu=90C", "node:die=90C", "cpu=80C:60s", "node:die=80C:60s",
                                      "p95:cpu=70C", "p95:node:die=70C", "p95:node:case=40C",
                                      "changes:gpu<=6/min"}));
}

TEST_F(LimitsTest, RequirementsOfNothingAreWrong) {
  files.environment += "\n[alarm]\ntype report\n";
  files.plant += "[source.big]\nnode = \"die\"\nwatts = 1\nload = 0.5\nwork = true\n"
                 "device = \"gpu\"\nspeed = [1, 0.8, 0.6, 0.4]\n"
                 "[source.panel]\nnode = \"case\"\nwatts = 1\nload = 0.5\n";
  ask({}, {"work:bgi=75%", "work:panel=75%", "changes:gqu<=6/min", "changes:alarm<=6/min"});
  EXPECT_EQ(files.wrongInFull(),
            "--require changes:alarm<=6/min: error: the board has no device with levels called "
            "'alarm'\n      hint: there are 'gpu'\n"
            "--require changes:gqu<=6/min: error: the board has no device with levels called "
            "'gqu'\n      hint: did you mean 'gpu'?\n"
            "--require work:bgi=75%: error: the plant has no source that does work called 'bgi'\n"
            "      hint: did you mean 'big'?\n"
            "--require work:panel=75%: error: the plant has no source that does work called "
            "'panel'\n      hint: there are 'big'\n");
}

TEST_F(InputsTest, FilesThatCannotBeReadAreAllNamed) {
  files.request.configurations = {"/nowhere/a.conf", "/nowhere/b.conf"};
  EXPECT_EQ(files.wrong(), "/nowhere/a.conf: error: cannot be read: No such file or directory\n"
                           "/nowhere/b.conf: error: cannot be read: No such file or directory\n");
}

TEST_F(InputsTest, AnEnvironmentWithoutASensorIsWrong) {
  files.environment = "[gpu]\ntype gpufreq\nlevel_table 2 1\n";
  EXPECT_NE(files.wrong().find("board.env: error: declares no sensor\n"), std::string::npos);
}

} // namespace
