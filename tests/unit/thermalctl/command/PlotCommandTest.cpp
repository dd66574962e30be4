#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "command/Commands.h"
#include "thermalctl/command/CommandBoard.h"

namespace {

// A trace of some seconds of the board at 40 °C.
class PlotCommandTest : public testing::Test, protected CommandBoard {
protected:
  using Words = std::vector<std::string>;

  PlotCommandTest() { trace("trace.csv"); }

  void trace(const std::string& name) const {
    ended(simulateCommand(), {"--board", path(""), "--workload", "warm", "--duration", "5s",
                              "--jobs", "1", "--out", path("out"), "--only", "csv"});
    files.write(name, files.read("out/trace.csv"));
  }
  EndedCommand plotted(const Words& more) const {
    Words words = {path("trace.csv")};
    words.insert(words.end(), more.begin(), more.end());
    return ended(plotCommand(), words);
  }

  // What is told of the trace once it is read.
  const std::string kRead = "trace.csv: 1 simulated run in 14 lines\n";
};

TEST_F(PlotCommandTest, ATraceIsHeldToTheLimits) {
  EXPECT_EQ(plotted({}).status, kFine);
  EXPECT_EQ(plotted({"--limit", "cpu=40C"}).status, kFine);
  EXPECT_EQ(plotted({"--limit", "cpu=39C"}).status, kProblems);
}

TEST_F(PlotCommandTest, ABudgetOfWhatNoRunHasIsRefused) {
  const EndedCommand unknown = plotted({"--limit", "cpuu=40C"});
  EXPECT_EQ(unknown.status, kCouldNotRun);
  EXPECT_EQ(unknown.err, kRead + "--limit cpuu: error: no run has 'cpuu'\n"
                                 "      hint: did you mean 'cpu'?\n");
  EXPECT_EQ(plotted({"--require", "work:clock=75%"}).err,
            kRead + "--require work:clock: error: no log knows how much work was asked for\n"
                    "      hint: simulate holds runs to it\n");
}

TEST_F(PlotCommandTest, AStretchIsATimeOfTheRun) {
  const std::string such =
      ": is no time since the start of the run, such as 90s, 15m, 1h30m or 0:15:00\n";
  for (const char* text : {"soon", "0:60:00", "0:00:60", "1:2:3", "0:0:01", "-1s"}) {
    EXPECT_EQ(plotted({"--from", text}).err, "thermalctl: --from " + std::string(text) + such);
    EXPECT_EQ(plotted({"--to", text}).err, "thermalctl: --to " + std::string(text) + such);
  }
  for (const char* text : {"1s", "0:00:01", "0:00:01.5", "000000:00:01"})
    EXPECT_EQ(plotted({"--from", text}).status, kFine) << text;
}

TEST_F(PlotCommandTest, NothingLiesBetweenTheEndsOfAnEmptyStretch) {
  EXPECT_EQ(plotted({"--from", "2s", "--to", "2s"}).err,
            "thermalctl: --from 2s --to 2s: nothing lies between them\n");
  EXPECT_EQ(plotted({"--from", "2s", "--to", "2001ms"}).status, kFine);
  EXPECT_EQ(plotted({"--to", "0s"}).err,
            "thermalctl: --from  --to 0s: nothing lies between them\n");
}

TEST_F(PlotCommandTest, ARunThatEndsBeforeTheStretchIsTold) {
  EXPECT_EQ(plotted({"--from", "4999ms"}).status, kFine);
  const EndedCommand end = plotted({"--from", "5s"});
  EXPECT_EQ(end.status, kCouldNotRun);
  EXPECT_EQ(end.err, kRead +
                         "thermalctl: trace.csv: ends at 0:00:05, before the stretch that is to be "
                         "shown\n");
}

TEST_F(PlotCommandTest, AFileThatCannotBeReadIsToldBesideTheOthers) {
  const EndedCommand end = plotted({path("nowhere.log"), path("elsewhere.log")});
  EXPECT_EQ(end.status, kCouldNotRun);
  EXPECT_EQ(end.out, "");
  EXPECT_NE(end.err.find("thermalctl: nowhere.log: "), std::string::npos) << end.err;
  EXPECT_NE(end.err.find("thermalctl: elsewhere.log: "), std::string::npos) << end.err;
}

TEST_F(PlotCommandTest, ALogWithoutAMessageOfTheDaemonIsOfNoUse) {
  files.write("other.log", "nothing of it\nat all\n");
  const EndedCommand end = plotted({path("other.log")});
  EXPECT_EQ(end.status, kCouldNotRun);
  EXPECT_EQ(end.err, kRead + "thermalctl: other.log: no message of the daemon is in it\n");
}

TEST_F(PlotCommandTest, ABoardThatIsNoneKeepsFromShowing) {
  EXPECT_EQ(plotted({"--board", path("trace.csv")}).err, "thermalctl: trace.csv: is no folder\n");
  files.write("talmor-thermal.conf", "SCEN Default\n[a]\nalgo_type Monitor\n");
  const EndedCommand end = plotted({"--board", path("")});
  EXPECT_EQ(end.status, kCouldNotRun);
  EXPECT_NE(end.err.find("thermalctl: nothing is shown: the check has found errors\n"),
            std::string::npos)
      << end.err;
  files.write("second.env", kEnvironment);
  EXPECT_EQ(plotted({"--board", path("")}).err,
            "thermalctl: : a board's folder has one *.env file, this one has 2\n");
}

TEST_F(PlotCommandTest, TwoTracesStandUnderTheirNames) {
  trace("other.csv");
  const EndedCommand both = plotted({path("other.csv")});
  EXPECT_EQ(both.status, kFine);
  EXPECT_NE(both.out.find("trace.csv"), std::string::npos) << both.out;
  EXPECT_NE(both.out.find("other.csv"), std::string::npos) << both.out;
}

TEST_F(PlotCommandTest, APageTellsTheFilesThatItIsMadeOf) {
  const EndedCommand end = plotted({"--board", path(""), "--out", path("page"), "--only", "html"});
  EXPECT_EQ(end.status, kFine);
  const std::string page = files.read("page/report.html");
  for (const char* name : {"trace.csv", "talmor-thermal.env", "talmor-thermal.conf"})
    EXPECT_NE(page.find(name), std::string::npos) << name;
}

} // namespace
