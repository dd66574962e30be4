#include "simulate/Inputs.h"

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

TEST_F(InputsTest, ALimitBelongsToASensorOrToANodeThatIsShown) {
  files.plant += "[node.case]\njoules_per_kelvin = 70\n"
                 "[[resistance]]\nbetween = [\"case\", \"die\"]\nkelvin_per_watt = 1\n";
  files.request.limits = {{"cpu", 90000}, {"case", 43000}};
  const std::vector<RunInput> runs = files.read();
  ASSERT_TRUE(files.problems.none());
  ASSERT_EQ(runs[0].description.sensors.size(), 2U);
  EXPECT_EQ(runs[0].description.sensors[0].limit, 90000);
  EXPECT_EQ(runs[0].description.sensors[1].limit, 43000);
}

TEST_F(InputsTest, ALimitOfNothingIsWrong) {
  files.request.limits = {{"skni", 43000}};
  EXPECT_EQ(files.wrong(),
            "--limit skni: error: is no sensor of the board and no node of the plant\n");
}

TEST_F(InputsTest, AConfigurationAtWhichTheDaemonWouldEndIsWrong) {
  files.configuration = "[hot]\nalgo_type monitor\nsensor cpu\n";
  files.add("night.conf", "[hot]\nalgo_type none\n");
  files.workload = "time,configuration\n0,night.conf\n";
  EXPECT_EQ(files.wrong(), "first.conf: error: the daemon would end here: There is some missing "
                           "property for hot\n"
                           "night.conf: error: the daemon would end here: Algo type should be "
                           "'monitor' or 'SS'\n");
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
