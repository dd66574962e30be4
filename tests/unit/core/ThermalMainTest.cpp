#include "core/ThermalMain.h"

#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <functional>
#include <memory>
#include <thread>

#include <gtest/gtest.h>

#include "support/Board.h"
#include "support/Eventually.h"
#include "support/LogSwitchedOff.h"
#include "support/RecordedLog.h"

namespace {

using Lines = std::vector<std::string>;
using Keys = std::vector<std::string>;

const std::string kSensor = "[cpu]\ntype real\n";

// A configuration of one monitor of that name, decided every millisecond.
std::string monitorNamed(const std::string& name) {
  return "[" + name +
         "]\nalgo_type monitor\nsensor cpu\nsampling 1\nthresholds 60000\nthresholds_clr 58000\n"
         "actions fan\naction_info 1\n";
}

template <typename T> Keys keysOf(const std::map<std::string, T*>& registry) {
  Keys keys;
  for (const auto& [key, value] : registry)
    keys.push_back(key);
  return keys;
}

Keys monitorsOf(const ThermalMain& daemon) {
  Keys names;
  for (const auto& [key, worker] : daemon.monitorThreads) {
    for (const Monitor* monitor : worker->items)
      names.push_back(monitor->name);
  }
  return names;
}

// All that a process that ends says on its way out.
testing::Matcher<const std::string&> exactly(const std::string& text) {
  return testing::Matcher<const std::string&>(text);
}

class ThermalMainTest : public testing::Test {
protected:
  std::string factory() const { return files.node("factory.conf"); }
  std::string installed() const { return files.node("config/talmor-thermal_default.conf"); }
  void remove(const std::string& name) const { std::filesystem::remove_all(files.node(name)); }
  void makeFolder(const std::string& name) const {
    std::filesystem::create_directory(files.node(name));
  }

  static std::string cantOpen(const std::string& path) {
    return "[TalmorThermal] Can't open : " + path + "\n";
  }
  static std::string unreadable(const std::string& path) {
    return "[TalmorThermal] Unreadable conf file : " + path + "\n";
  }
  std::string copied() const {
    return "[TalmorThermal] Conf file is copied!(" + factory() + " -> " + installed() + ")\n";
  }
  // The log of a start-up that has to say this much about its configuration.
  static Lines startUpLog(const Lines& aboutCopy, const Lines& aboutReading = {}) {
    Lines lines{"[TalmorThermal] Using Env Config!\n", "[TalmorThermal] EnvParse Passed!\n"};
    lines.insert(lines.end(), aboutCopy.begin(), aboutCopy.end());
    lines.insert(lines.end(), aboutReading.begin(), aboutReading.end());
    lines.push_back("[TalmorThermal] ConfParse Passed!\n");
    lines.push_back("[TalmorThermal] initScenario Passed!\n");
    return lines;
  }

  BoardFiles files;
  RecordedLog log;
};

TEST_F(ThermalMainTest, StartsUpInItsStationsAndCopiesTheFactoryConfiguration) {
  const Board board(files);
  EXPECT_EQ(log.lines(), startUpLog({copied()}));
  EXPECT_TRUE(files.exists("config/talmor-thermal_default.conf"));
}

TEST_F(ThermalMainTest, WritesTheControlFilesBetweenItsLastTwoStations) {
  log.noteBeside([this] {
    return std::to_string(files.exists("wanted.scen") + files.exists("request.dconf"));
  });
  const Board board(files);
  const Lines lines = log.lines();
  EXPECT_EQ(lines[lines.size() - 2], "[TalmorThermal] ConfParse Passed!\n0");
  EXPECT_EQ(lines.back(), "[TalmorThermal] initScenario Passed!\n2");
}

TEST_F(ThermalMainTest, BeginsWithEmptyRegistriesAndTheDefaultFileName) {
  const Board board(files);
  EXPECT_EQ(board.confPath, factory());
  EXPECT_EQ(board.envPath, files.node("board.env"));
  EXPECT_EQ(board.confDir, files.node("config/"));
  EXPECT_EQ(board.confFileName, "talmor-thermal_default.conf");
  EXPECT_TRUE(board.ssThreads.empty());
  EXPECT_TRUE(board.monitorThreads.empty());
  EXPECT_TRUE(board.sensorThreads.empty());
  EXPECT_TRUE(board.devices.empty());
  EXPECT_TRUE(board.sensors.empty());
  EXPECT_TRUE(board.scenarios.empty());
  EXPECT_TRUE(board.threads.empty());
}

TEST_F(ThermalMainTest, AnEnvironmentThatEndsEarlyStillCountsAsPassed) {
  files.write("board.env", "sensor cpu0\n\n" + kSensor);
  const Board board(files);
  EXPECT_EQ(log.lines(), startUpLog({copied()}));
  EXPECT_TRUE(board.sensors.empty());
  EXPECT_TRUE(board.devices.empty());
}

TEST_F(ThermalMainTest, CopiesTheFactoryConfigurationByteForByte) {
  std::string everyByte;
  for (int c = 0; c < 256; ++c)
    everyByte.push_back(static_cast<char>(c));
  const std::string content = "\r\n \n" + monitorNamed("hot") + everyByte;
  files.write("board.env", kSensor);
  files.write("factory.conf", content);
  const Board board(files);
  EXPECT_EQ(files.read("config/talmor-thermal_default.conf"), content);
  EXPECT_EQ(monitorsOf(board), (Keys{"hot"}));
}

TEST_F(ThermalMainTest, AConfigurationThatIsAlreadyThereIsReadAndNotReplaced) {
  const std::string mine = monitorNamed("mine");
  files.write("board.env", kSensor);
  files.write("factory.conf", monitorNamed("factory"));
  files.write("config/talmor-thermal_default.conf", mine);
  const Board board(files);
  EXPECT_EQ(files.read("config/talmor-thermal_default.conf"), mine);
  EXPECT_EQ(monitorsOf(board), (Keys{"mine"}));
  for (const std::string& line : log.lines())
    EXPECT_EQ(line.find("copied"), std::string::npos) << line;
}

TEST_F(ThermalMainTest, AnEmptyConfigurationThatIsAlreadyThereIsKeptToo) {
  files.write("factory.conf", "no item\n");
  files.write("config/talmor-thermal_default.conf", "");
  const Board board(files);
  EXPECT_EQ(log.lines(), startUpLog({}));
}

TEST_F(ThermalMainTest, TheEnvironmentNamesTheFileThatTheConfigurationIsCopiedToAndReadFrom) {
  files.write("board.env", "[conf]\ntype conf_file\nfile_name phone.conf\n\n" + kSensor);
  files.write("factory.conf", monitorNamed("hot"));
  const Board board(files);
  EXPECT_EQ(board.confFileName, "phone.conf");
  EXPECT_EQ(files.read("config/phone.conf"), monitorNamed("hot"));
  EXPECT_FALSE(files.exists("config/talmor-thermal_default.conf"));
  EXPECT_EQ(monitorsOf(board), (Keys{"hot"}));
}

TEST_F(ThermalMainTest, WithoutTheConfigurationFolderTheFactoryConfigurationItselfIsRead) {
  remove("config");
  files.write("factory.conf", "\n");
  const Board board(files);
  EXPECT_EQ(log.lines(), startUpLog({cantOpen(installed())}, {unreadable(installed())}));
  EXPECT_EQ(board.confFileName, "talmor-thermal_default.conf");
  EXPECT_FALSE(files.exists("config"));
}

TEST_F(ThermalMainTest, WithoutAFactoryConfigurationAnEmptyOneIsInstalled) {
  remove("factory.conf");
  const Board board(files);
  EXPECT_EQ(log.lines(), startUpLog({cantOpen(factory())}));
  EXPECT_TRUE(files.exists("config/talmor-thermal_default.conf"));
  EXPECT_EQ(files.read("config/talmor-thermal_default.conf"), "");
}

TEST_F(ThermalMainTest, WithoutAnyConfigurationItGoesOnAsWithAnEmptyOne) {
  remove("config");
  remove("factory.conf");
  const Board board(files);
  EXPECT_EQ(log.lines(),
            startUpLog({cantOpen(factory())}, {unreadable(installed()), unreadable(factory())}));
  EXPECT_TRUE(board.scenarios.empty());
  EXPECT_EQ(files.read("wanted.scen"), "Default");
}

TEST_F(ThermalMainTest, AFactoryConfigurationThatOpensButCannotBeReadLeavesNoBrokenCopy) {
  remove("factory.conf");
  makeFolder("factory.conf");
  const Board board(files);
  EXPECT_EQ(log.lines(), startUpLog({copied(), unreadable(installed()),
                                     unreadable(files.node("factory.conf"))}));
  EXPECT_FALSE(files.exists("config/talmor-thermal_default.conf"));
}

TEST_F(ThermalMainTest, AConfigurationThatOpensButCannotBeReadGivesWayToTheFactoryOne) {
  files.write("board.env", kSensor);
  files.write("factory.conf", monitorNamed("factory"));
  const auto expectFactory = [this](const char* why) {
    log.clear();
    const Board board(files);
    EXPECT_EQ(monitorsOf(board), (Keys{"factory"})) << why;
    EXPECT_EQ(board.confFileName, "talmor-thermal_default.conf") << why;
    const Lines lines = log.lines();
    EXPECT_EQ(std::count(lines.begin(), lines.end(), unreadable(installed())), 1) << why;
    EXPECT_EQ(std::count(lines.begin(), lines.end(), copied()), 0) << why;
  };
  makeFolder("config/talmor-thermal_default.conf");
  expectFactory("a directory");
  remove("config/talmor-thermal_default.conf");
  // Nothing is mapped at address 0: every read of it fails.
  std::filesystem::create_symlink("/proc/self/mem", installed());
  expectFactory("a failing read");
}

TEST_F(ThermalMainTest, TwoFoldersInTheirPlacesLeaveItWithoutAlgorithms) {
  remove("factory.conf");
  makeFolder("factory.conf");
  makeFolder("config/talmor-thermal_default.conf");
  const Board board(files);
  EXPECT_EQ(log.lines(), startUpLog({}, {unreadable(installed()), unreadable(factory())}));
}

TEST_F(ThermalMainTest, ResetsTheControlFilesWhateverTheyHeld) {
  files.write("request.dconf", "a much longer request than the answer\n");
  files.write("wanted.scen", "a scenario of an earlier run\n");
  const Board board(files);
  EXPECT_EQ(files.read("request.dconf"), "PARSED");
  EXPECT_EQ(files.read("wanted.scen"), "Default");
}

TEST_F(ThermalMainTest, MakesTheControlFilesThatAreNotThere) {
  const Board board(files);
  EXPECT_EQ(files.read("request.dconf"), "PARSED");
  EXPECT_EQ(files.read("wanted.scen"), "Default");
}

TEST_F(ThermalMainTest, ControlFilesThatCannotBeMadeAreLeftAsTheyAreWithoutAWord) {
  makeFolder("request.dconf");
  makeFolder("wanted.scen");
  const Board board(files);
  EXPECT_EQ(log.lines(), startUpLog({copied()}));
  EXPECT_TRUE(std::filesystem::is_directory(files.node("request.dconf")));
  EXPECT_TRUE(std::filesystem::is_directory(files.node("wanted.scen")));
}

TEST_F(ThermalMainTest, TheScenarioThreadKnowsTheFilesTheDaemonAndEverySensorThread) {
  files.write("board.env", "[a]\ntype real\nsampling 500\n\n[b]\ntype real\n");
  const Board board(files);
  ASSERT_NE(board.scenarioThread, nullptr);
  EXPECT_EQ(board.scenarioThread->dconfPath, files.node("request.dconf"));
  EXPECT_EQ(board.scenarioThread->scenPath, files.node("wanted.scen"));
  EXPECT_EQ(board.scenarioThread->owner, &board);
  ASSERT_EQ(board.sensorThreads.size(), 2u);
  for (const auto& [period, worker] : board.sensorThreads)
    EXPECT_EQ(worker->scenarioThread, board.scenarioThread) << period;
}

TEST_F(ThermalMainTest, StartUpStartsNoThreadBeforeItsEnd) {
  files.write("board.env", kSensor);
  files.write("factory.conf", monitorNamed("hot"));
  const Board board(files);
  EXPECT_FALSE(board.sensorThreads.at(1000)->started);
  EXPECT_FALSE(board.monitorThreads.begin()->second->started);
  EXPECT_FALSE(board.scenarioThread->started);
  EXPECT_TRUE(board.threads.empty());
}

TEST_F(ThermalMainTest, WithTheLogSwitchedOffNoLineIsWritten) {
  const LogSwitchedOff off;
  const Board copying(files);
  remove("config");
  const Board withoutFolder(files);
  remove("factory.conf");
  const Board withoutAny(files);
  EXPECT_EQ(log.lines(), Lines{});
}

TEST_F(ThermalMainTest, FreesTheOldStepItemsBeforeTheOldMonitors) {
  files.write("board.env", kSensor + "\n[fan]\ntype report\nlevel_table 0 1\nnode_path " +
                               files.node("report") + "\n");
  files.write("factory.conf", monitorNamed("monitor") +
                                  "\n[step]\nalgo_type ss\nsensor cpu\ndevice fan\n"
                                  "set_point 60000\nset_point_clr 58000\nstart_level 1\n");
  Board board(files);
  Sensor& sensor = *board.sensors.at("cpu");
  sensor.temperature = 60000;
  sensor.traversItems();
  for (Algo* item : sensor.algorithms.at("Default")) {
    item->decision();
    item->old = true;
  }
  files.clear("report");
  board.destroyOldUnusings();
  const std::string report = files.read("report");
  const size_t step = report.find("[step] Under");
  ASSERT_NE(step, std::string::npos) << report;
  EXPECT_LT(step, report.find("[monitor] Under")) << report;
  EXPECT_TRUE(board.ssThreads.empty());
  EXPECT_TRUE(board.monitorThreads.empty());
}

// Whether a process that does nothing but this start-up waits in its sleep, neither ending nor
// busy, within a generous limit.
bool comesToRest(const std::function<void()>& startUp) {
  const pid_t child = ::fork();
  if (child == 0) {
    startUp();
    std::_Exit(EXIT_SUCCESS);
  }
  const std::string statPath = "/proc/" + std::to_string(child) + "/stat";
  bool ended = false;
  bool asleep = false;
  eventually([&] {
    ended = ::waitpid(child, nullptr, WNOHANG) != 0;
    std::string stat;
    std::getline(std::ifstream(statPath), stat);
    const size_t nameEnd = stat.rfind(") ");
    asleep = nameEnd != std::string::npos && stat[nameEnd + 2] == 'S';
    return ended || asleep;
  });
  if (ended) return false;
  ::kill(child, SIGKILL);
  ::waitpid(child, nullptr, 0);
  return asleep;
}

TEST_F(ThermalMainTest, WithoutAnEnvironmentStartUpWaitsAsleep) {
  const auto startUp = [this] { const Board board(files); };
  remove("board.env");
  EXPECT_TRUE(comesToRest(startUp)) << "a missing file";
  makeFolder("board.env");
  EXPECT_TRUE(comesToRest(startUp)) << "a directory";
}

TEST_F(ThermalMainTest, AConfigurationErrorEndsTheProcessWithStatusZeroAfterOneLine) {
  const struct {
    std::string text;
    std::string error;
  } cases[] = {
      {"no item\n", "Each item should be started with 'SCEN' or embraced with [name]\n"},
      {"[hot]\nsensor cpu\n", "Each item's property should contain & start with 'algo_type'\n"},
      {"[hot]\nalgo_type SS\n", "Algo type should be 'monitor' or 'SS'\n"},
      {"[100%s]\nalgo_type ss\n", "There is some missing property for 100%s\n"},
  };
  for (const auto& c : cases) {
    files.write("config/talmor-thermal_default.conf", c.text);
    EXPECT_EXIT(
        {
          log.echoToStandardError();
          const Board board(files);
        },
        testing::ExitedWithCode(0),
        exactly("[TalmorThermal] Using Env Config!\n[TalmorThermal] EnvParse Passed!\n"
                "[TalmorThermal] [CONF PARSE FAIL] " +
                c.error));
  }
}

TEST_F(ThermalMainTest, AConfigurationErrorOfASilentDaemonEndsItWithoutALine) {
  files.write("factory.conf", "no item\n");
  EXPECT_EXIT(
      {
        logEnabled = false;
        log.echoToStandardError();
        const Board board(files);
      },
      testing::ExitedWithCode(0), exactly(""));
}

TEST_F(ThermalMainTest, AnErrorInTheFactoryConfigurationThatStandsInEndsTheProcessToo) {
  remove("config");
  files.write("factory.conf", "no item\n");
  EXPECT_EXIT(
      {
        log.echoToStandardError();
        const Board board(files);
      },
      testing::ExitedWithCode(0),
      exactly("[TalmorThermal] Using Env Config!\n[TalmorThermal] EnvParse Passed!\n" +
              cantOpen(installed()) + unreadable(installed()) +
              "[TalmorThermal] [CONF PARSE FAIL] Each item should be started with 'SCEN' or "
              "embraced with [name]\n"));
}

TEST_F(ThermalMainTest, AConfigurationErrorInALiveSwapEndsTheProcessUnderItsRunningWorkers) {
  files.write("board.env", kSensor);
  files.write("factory.conf", monitorNamed("hot"));
  files.write("config/bad.conf", monitorNamed("new") + "\n[hot]\nalgo_type SS\n");
  EXPECT_EXIT(
      {
        std::atexit([] { std::fputs("torn down\n", stderr); });
        Board board(files);
        board.withoutEndlessThreads();
        board.runThreads();
        log.echoToStandardError();
        board.dynamicConfParse("bad.conf");
      },
      testing::ExitedWithCode(0),
      exactly("[TalmorThermal] [CONF PARSE FAIL] Algo type should be 'monitor' or 'SS'\n"));
}

size_t threadsOfThisProcess() {
  const std::filesystem::directory_iterator tasks("/proc/self/task");
  return static_cast<size_t>(std::distance(begin(tasks), end(tasks)));
}

// Starts all threads, twice, and says on standard error what there is. The threads never end, so
// this is for a process of its own.
[[noreturn]] void runAndTell(const SysfsDir& files) {
  auto* board = new Board(files);
  // A sanitizer starts a thread of its own beside the first one of ours. The kernel lists ours for
  // a moment longer than it takes to join it.
  std::filesystem::path first;
  std::thread([&first] {
    first = "/proc/self/task/" + std::to_string(::syscall(SYS_gettid));
  }).join();
  while (std::filesystem::exists(first))
    std::this_thread::yield();
  const size_t before = threadsOfThisProcess();
  board->runThreads();
  const std::map<std::string, std::thread*> threads = board->threads;
  for (const auto& [name, thread] : threads)
    std::fprintf(stderr, "%s%s\n", name.c_str(), thread && thread->joinable() ? "" : " is null");
  std::fprintf(stderr, "started %zu\n", threadsOfThisProcess() - before);
  board->runThreads();
  std::fprintf(stderr, "then %zu\n", threadsOfThisProcess() - before);
  std::fputs(board->threads == threads ? "the same\n" : "others\n", stderr);
  std::_Exit(EXIT_SUCCESS);
}

TEST_F(ThermalMainTest, StartsOneThreadForEachWorkerUnderItsNameAndNeverASecond) {
  files.write("board.env", "[cpu]\ntype real\nsampling 500\n\n[gpu]\ntype real\nsampling 500\n\n"
                           "[skin]\ntype virtual\n\n[fan]\ntype charger\n");
  files.write("factory.conf",
              monitorNamed("a") + "\n" + monitorNamed("b") +
                  "\nSCEN night\n[c]\nalgo_type ss\nsensor cpu\ndevice fan\nset_point 1\n"
                  "set_point_clr 1\n");
  EXPECT_EXIT(runAndTell(files), testing::ExitedWithCode(0),
              exactly("1000\n1000nightSS\n1DefaultMONITOR\n500\nScenarioThread\n"
                      "started 5\nthen 5\nthe same\n"));
}

TEST_F(ThermalMainTest, WithoutSensorsItStillRunsItsScenarioThread) {
  EXPECT_EXIT(runAndTell(files), testing::ExitedWithCode(0),
              exactly("ScenarioThread\nstarted 1\nthen 1\nthe same\n"));
}

// A daemon with one monitor, whose worker alone is run as a thread.
class RunningBoardTest : public ThermalMainTest {
protected:
  RunningBoardTest() {
    files.write("board.env", kSensor);
    files.write("factory.conf", monitorNamed("first"));
    board = std::make_unique<Board>(files);
    board->withoutEndlessThreads();
    log.clear();
  }

  MonitorThread& worker() const { return *board->monitorThreads.at("1DefaultMONITOR"); }

  std::unique_ptr<Board> board;
};

TEST_F(RunningBoardTest, AWorkerIsMarkedAsStartedAndStartedOnce) {
  EXPECT_FALSE(worker().started);
  board->runThreads();
  EXPECT_TRUE(worker().started);
  const std::thread* const thread = board->threads.at("1DefaultMONITOR");
  ASSERT_NE(thread, nullptr);
  EXPECT_TRUE(thread->joinable());
  board->runThreads();
  EXPECT_EQ(board->threads.at("1DefaultMONITOR"), thread);
}

TEST_F(RunningBoardTest, AWorkerThatIsMarkedAsStartedIsNotStarted) {
  worker().started = true;
  board->runThreads();
  for (const auto& [name, thread] : board->threads)
    EXPECT_EQ(thread, nullptr) << name;
}

TEST_F(RunningBoardTest, ANewThreadTakesTheNameOfAnEarlierOneAndLeavesThatAlone) {
  std::thread earlier;
  board->threads["1DefaultMONITOR"] = &earlier;
  board->runThreads();
  EXPECT_NE(board->threads.at("1DefaultMONITOR"), &earlier);
}

TEST_F(RunningBoardTest, AThreadRunsTheBodyOfItsWorker) {
  board->runThreads();
  worker().activate();
  EXPECT_TRUE(eventually([this] { return sleepsThroughPeriod(worker()); }));
}

TEST_F(RunningBoardTest, FindsAFileOfTheConfigurationFolderByTheNameAsItStands) {
  files.write("config/night.conf", "");
  EXPECT_TRUE(board->findConfFile("night.conf"));
  EXPECT_TRUE(board->findConfFile("../factory.conf"));
  EXPECT_TRUE(board->findConfFile("")) << "the folder itself opens";
  EXPECT_FALSE(board->findConfFile("day.conf"));
  EXPECT_FALSE(board->findConfFile("night.conf "));
  EXPECT_FALSE(board->findConfFile("factory.conf"));
}

TEST_F(RunningBoardTest, ALiveSwapPutsTheNamedFileInForceAndStartsItsWorkers) {
  files.write("config/night.conf", "SCEN night\n" + monitorNamed("second"));
  board->dynamicConfParse("night.conf");
  EXPECT_EQ(board->confFileName, "night.conf");
  EXPECT_EQ(keysOf(board->scenarios), (Keys{"night"}));
  EXPECT_EQ(monitorsOf(*board), (Keys{"first", "second"}));
  EXPECT_TRUE(board->monitorThreads.at("1nightMONITOR")->started);
  EXPECT_NE(board->threads.at("1nightMONITOR"), nullptr);
  EXPECT_EQ(log.lines(), Lines{});
}

TEST_F(RunningBoardTest, AnUnreadableFileOfALiveSwapGivesWayToTheOneInForce) {
  files.write("factory.conf", "no item\n");
  makeFolder("config/folder.conf");
  Keys expected{"first"};
  for (const char* name : {"missing.conf", "folder.conf", ""}) {
    log.clear();
    board->dynamicConfParse(name);
    expected.push_back("first");
    EXPECT_EQ(monitorsOf(*board), expected) << name;
    EXPECT_EQ(board->confFileName, "talmor-thermal_default.conf") << name;
    EXPECT_EQ(log.lines(), (Lines{unreadable(files.node("config/") + name)})) << name;
  }
}

TEST_F(RunningBoardTest, WithoutTheFileInForceALiveSwapGivesWayToTheFactoryOne) {
  files.write("factory.conf", monitorNamed("factory"));
  remove("config/talmor-thermal_default.conf");
  board->dynamicConfParse("missing.conf");
  EXPECT_EQ(monitorsOf(*board), (Keys{"first", "factory"}));
  EXPECT_EQ(board->confFileName, "talmor-thermal_default.conf");
  EXPECT_EQ(log.lines(),
            (Lines{unreadable(files.node("config/missing.conf")), unreadable(installed())}));
}

TEST_F(RunningBoardTest, WithoutAnyFileALiveSwapIsLikeOneToAnEmptyFile) {
  files.write("config/night.conf", "SCEN night\n" + monitorNamed("second"));
  board->dynamicConfParse("night.conf");
  const std::unique_ptr<Scenario> night(board->scenarios.at("night"));
  remove("config");
  remove("factory.conf");
  board->dynamicConfParse("missing.conf");
  EXPECT_EQ(monitorsOf(*board), (Keys{"first", "second"}));
  EXPECT_TRUE(board->scenarios.empty());
  EXPECT_EQ(board->confFileName, "night.conf");
  EXPECT_EQ(log.lines(),
            (Lines{unreadable(files.node("config/missing.conf")),
                   unreadable(files.node("config/night.conf")), unreadable(factory())}));
}

TEST_F(RunningBoardTest, WithTheLogSwitchedOffAnUnreadableFileIsNotMentioned) {
  const LogSwitchedOff off;
  board->dynamicConfParse("missing.conf");
  EXPECT_EQ(log.lines(), Lines{});
}

} // namespace
