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

  // By name; those without a limit are left out.
  std::map<std::string, int32_t> limitsWith(const std::vector<Limit>& asked) {
    files.request.limits = asked;
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
  EXPECT_EQ(limitsWith({{"cpu", false, 90000}}), (Limits{{"cpu", 90000}, {"die", 90000}}));
}

TEST_F(LimitsTest, OfANodeIsItsOwnAlone) {
  EXPECT_EQ(limitsWith({{"die", true, 90000}}), (Limits{{"die", 90000}}));
  EXPECT_EQ(limitsWith({{"case", false, 43000}}), (Limits{{"case", 43000}}));
}

TEST_F(LimitsTest, TheTightestHolds) {
  EXPECT_EQ(limitsWith({{"cpu", false, 90000}, {"die", true, 80000}, {"cpu", false, 95000}}),
            (Limits{{"cpu", 90000}, {"die", 80000}}));
  EXPECT_EQ(limitsWith({{"cpu", false, 70000}, {"die", true, 80000}}),
            (Limits{{"cpu", 70000}, {"die", 70000}}));
}

TEST_F(LimitsTest, OfNothingAreWrong) {
  files.request.limits = {{"cqu", false, 43000}, {"csae", true, 43000}, {"cpu", true, 43000}};
  EXPECT_EQ(files.wrongInFull(),
            "--limit cqu: error: the board has no sensor and the plant no node 'cqu'\n"
            "      hint: did you mean 'cpu'?\n"
            "--limit node:cpu: error: the plant has no node 'cpu'\n"
            "      hint: there are 'die' and 'case'\n"
            "--limit node:csae: error: the plant has no node 'csae'\n"
            "      hint: did you mean 'case'?\n");
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
