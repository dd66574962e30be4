#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "command/Commands.h"
#include "control/ControlFile.h"
#include "thermalctl/command/CommandBoard.h"

namespace {

// Where no daemon runs: what is refused without asking one.
class ReloadCommandTest : public testing::Test, protected CommandBoard {
protected:
  ReloadCommandTest() { std::filesystem::create_directory(path("config")); }

  EndedCommand reloaded(const std::string& file, const std::string& text) const {
    files.write(file, text);
    return ended(reloadCommand(), {path(file), "--env", path("talmor-thermal.env"), "--dir",
                                   path("") + ".", "--timeout", "0.1"});
  }
};

TEST_F(ReloadCommandTest, AFileThatEndsTheDaemonIsNotAskedFor) {
  const EndedCommand end = reloaded("night.conf", "SCEN Default\n[a]\nalgo_type Monitor\n");
  EXPECT_EQ(end.status, kProblems);
  EXPECT_NE(end.out.find("night.conf:3:11: error: the daemon ends: 'Monitor' is no kind of item"),
            std::string::npos)
      << end.out;
  EXPECT_EQ(end.err, "thermalctl: night.conf ends the daemon, so it was not asked for (--force "
                     "asks for it all the same)\n");
  EXPECT_FALSE(files.exists("config/night.conf"));
}

TEST_F(ReloadCommandTest, AFileThatLeavesNothingInForceIsNotAskedForEither) {
  const std::string game = "SCEN game\n" + std::string(kDay).substr(std::string(kDay).find('['));
  const EndedCommand end = reloaded("night.conf", game);
  EXPECT_EQ(end.status, kProblems);
  EXPECT_EQ(end.err, "thermalctl: night.conf leaves no item in force, so it was not asked for "
                     "(--force asks for it all the same)\n");
}

TEST_F(ReloadCommandTest, TheScenarioThatIsInForceCounts) {
  // So that nobody has to wait for a daemon.
  std::filesystem::remove(path("config"));
  const std::string items = std::string(kDay).substr(std::string(kDay).find('['));
  const ControlDirectory directory(path("") + ".");
  std::ofstream(directory.scenarioFile) << "game";
  const EndedCommand end = reloaded("night.conf", "SCEN game\n" + items);
  // It would have been asked for.
  EXPECT_EQ(end.status, kCouldNotRun);
  EXPECT_EQ(end.err.rfind("thermalctl: cannot write ./config/night.conf: ", 0), 0U) << end.err;
}

TEST_F(ReloadCommandTest, ANameThatIsNoWordCannotBeAskedFor) {
  for (const char* name : {"my night.conf", "ENOFILE", "PARSED"}) {
    const EndedCommand end = reloaded(name, kDay);
    EXPECT_EQ(end.status, kCouldNotRun);
    EXPECT_EQ(end.out, "");
    EXPECT_EQ(end.err, "thermalctl: a file called '" + std::string(name) +
                           "' cannot be asked for: the request is one word\n");
  }
}

TEST_F(ReloadCommandTest, AFileThatCannotBeReadIsNamed) {
  const EndedCommand end =
      ended(reloadCommand(), {path("nowhere.conf"), "--env", path("talmor-thermal.env")});
  EXPECT_EQ(end.status, kCouldNotRun);
  EXPECT_EQ(end.err.rfind("thermalctl: cannot read nowhere.conf: ", 0), 0U) << end.err;
  EXPECT_EQ(ended(reloadCommand(), {}).err,
            wrong("FILE is required; write thermalctl reload FILE"));
}

TEST_F(ReloadCommandTest, ATimeToWaitHasItsBounds) {
  for (const char* time : {"0.09", "86401", "-1", "10s"})
    EXPECT_EQ(ended(reloadCommand(), {"night.conf", "--timeout=" + std::string(time)}).err,
              wrong("--timeout: '" + std::string(time) + "' is no number from 0.1 to 86400"));
}

} // namespace
