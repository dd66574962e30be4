#include "thread/ScenarioThread.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>

#include <gtest/gtest.h>

#include "support/Fifo.h"
#include "support/HeapUse.h"
#include "support/LiveBoard.h"
#include "support/LogSwitchedOff.h"
#include "support/RecordedLog.h"
#include "thread/Scenario.h"

namespace {

using Lines = std::vector<std::string>;

// The first word of a file as the standard library reads it, which is what a control file means.
std::string wordOfFileStream(const std::string& path) {
  std::ifstream file(path);
  if (!file.is_open()) return "ENOFILE";
  std::string word;
  file.seekg(0) >> word;
  return word;
}

// The control files, on a board without sensors. The scenarios "Default" and "game" are known.
class ScenarioThreadTest : public ::testing::Test {
protected:
  ScenarioThreadTest() {
    for (const char* name : {"Default", "game"})
      main().scenarios[name] = new Scenario(name, std::string(name) == "Default");
  }

  Board& main() { return board.main(); }
  ScenarioThread& thread() { return board.scenarioThread(); }
  const SysfsDir& files() { return board.files; }
  void wantScenario(const std::string& content) { files().write("wanted.scen", content); }
  void requestConfiguration(const std::string& content) { files().write("request.dconf", content); }
  bool isActive(const std::string& scenario) { return main().scenarios.at(scenario)->active; }

  // The lines of one cycle.
  Lines cycle() {
    const RecordedLog log;
    board.cycle();
    return log.lines();
  }

  LiveBoard board{""};
};

TEST_F(ScenarioThreadTest, StartsInTheDefaultScenarioWithNothingPending) {
  const ScenarioThread fresh;
  EXPECT_EQ(fresh.period, 1000);
  EXPECT_EQ(fresh.pendingCount, 0);
  EXPECT_EQ(fresh.confState, "PARSED");
  EXPECT_EQ(fresh.dconfPath, "");
  EXPECT_EQ(fresh.scenPath, "");
  EXPECT_EQ(fresh.owner, nullptr);
  EXPECT_EQ(fresh.currentScenName, "Default");
  EXPECT_EQ(fresh.requestedScenName, "Default");
}

TEST_F(ScenarioThreadTest, ReadsTheFirstWordOfAFile) {
  const struct {
    const char* content;
    const char* word;
    const char* why;
  } cases[] = {
      {"game", "game", "a bare word"},
      {"game\n", "game", "a line end"},
      {" \t\n\r\v\fgame \n", "game", "white space around it"},
      {"game and more\nlines", "game", "only the first word counts"},
      {"", "", "an empty file"},
      {" \n\t ", "", "only white space"},
      {"ENOFILE", "ENOFILE", "the word of a missing file"},
  };
  ScenarioThread reader;
  for (const auto& c : cases)
    EXPECT_EQ(reader.checkStringInFile(files().write("word", c.content)), c.word) << c.why;
}

TEST_F(ScenarioThreadTest, ReadsWhatAFileStreamReads) {
  std::vector<std::string> contents = {
      "",
      " \n\t ",
      "game",
      "game\n",
      "\xFF\xFE\x80\x85\xA0 game",
      std::string("\0", 1),
      std::string(" a\0b\0 c", 7),
      std::string(100000, 'x'),
      std::string(100000, ' ') + "game",
      std::string(100000, '\0') + "\n",
  };
  for (int byte = 0; byte < 256; ++byte)
    contents.push_back(std::string("ga") + static_cast<char>(byte) + "me");
  // Words and white space that end around the end of a buffer of any likely size.
  for (const size_t size :
       std::initializer_list<size_t>{64, 128, 256, 512, 1024, 2048, 4096, 8192}) {
    for (const size_t length : {size - 2, size - 1, size, size + 1}) {
      for (const char* behind : {"", "\n", " y"}) {
        contents.push_back(std::string(length, 'x') + behind);
        contents.push_back(std::string(length, ' ') + behind);
        contents.push_back(std::string(length, '\n') + "game" + behind);
        contents.push_back(" " + std::string(2 * length, 'x') + behind);
      }
    }
  }
  // One reader for all: a long word must leave nothing of itself in a short one.
  ScenarioThread reader;
  for (const std::string& content : contents) {
    const std::string path = files().write("word", content);
    EXPECT_EQ(reader.checkStringInFile(path), wordOfFileStream(path)) << content;
  }
}

TEST_F(ScenarioThreadTest, ReadsWhatAFileStreamReadsWhereThereIsNoOrdinaryFile) {
  files().write("locked", "game");
  ASSERT_EQ(::chmod(files().node("locked").c_str(), 0), 0);
  std::filesystem::create_symlink("itself", files().node("itself"));
  ScenarioThread reader;
  for (const std::string& path :
       {files().node(""), files().node("missing"), files().node("word/below"),
        files().node("locked"), files().node("itself"), std::string(), std::string("/dev/null"),
        std::string("/proc/version"), std::string("/proc/self/maps"), std::string("/proc/self/mem"),
        std::string(5000, 'x')})
    EXPECT_EQ(reader.checkStringInFile(path), wordOfFileStream(path)) << path;
}

TEST_F(ScenarioThreadTest, ReadsNothingFromAPipeAndLeavesItsContentThere) {
  const Fifo pipe(files().node("pipe"));
  const int writer = ::open(files().node("pipe").c_str(), O_WRONLY | O_CLOEXEC);
  ASSERT_EQ(::write(writer, "game\n", 5), 5);
  ScenarioThread reader;
  EXPECT_EQ(reader.checkStringInFile(files().node("pipe")), "");
  EXPECT_EQ(wordOfFileStream(files().node("pipe")), "");
  EXPECT_EQ(pipe.take(), "game\n");
  ::close(writer);
}

TEST_F(ScenarioThreadTest, WaitsAtAPipeUntilSomebodyOpensItForWriting) {
  ASSERT_EQ(::mkfifo(files().node("pipe").c_str(), 0600), 0);
  ScenarioThread reader;
  const std::future<void> look =
      std::async(std::launch::async, [&] { reader.checkStringInFile(files().node("pipe")); });
  EXPECT_TRUE(staysUnderWay(look));
  const int writer = ::open(files().node("pipe").c_str(), O_WRONLY | O_CLOEXEC);
  EXPECT_TRUE(eventually([&] { return isOver(look); }));
  EXPECT_EQ(reader.checkStringInFile(files().node("pipe")), "");
  ::close(writer);
}

TEST_F(ScenarioThreadTest, TakesNothingFromTheHeapForTheLooksOfASecond) {
  if (!kHeapUsesCounted) GTEST_SKIP() << "the sanitizer's own heap is not counted";
  const std::string name(100, 'x');
  main().scenarios[name] = new Scenario(name, false);
  board.switchTo(name);
  thread().cycle();
  const size_t before = heapUses();
  thread().cycle();
  thread().cycle();
  EXPECT_EQ(heapUses(), before);
  const std::string counted(100, 'x');
  EXPECT_EQ(heapUses(), before + 1) << counted;
}

TEST_F(ScenarioThreadTest, ReadsAWordOfItsOwnFromAFileThatCannotBeOpened) {
  ScenarioThread reader;
  EXPECT_EQ(reader.checkStringInFile(files().node("missing")), "ENOFILE");
  EXPECT_EQ(reader.checkStringInFile(""), "ENOFILE");
}

TEST_F(ScenarioThreadTest, WritesTheBareWordInPlaceOfWhateverTheFileHeld) {
  ScenarioThread writer;
  writer.writeToFile(files().node("word"), "game");
  EXPECT_EQ(files().read("word"), "game");
  writer.writeToFile(files().write("word", "a longer text\n"), "PARSED");
  EXPECT_EQ(files().read("word"), "PARSED");
  writer.writeToFile(files().node("word"), "");
  EXPECT_EQ(files().read("word"), "");
}

TEST_F(ScenarioThreadTest, IgnoresAFileThatItCannotWrite) {
  ScenarioThread writer;
  writer.writeToFile(files().node("no/such/folder"), "game");
  writer.writeToFile(files().node("config"), "game");
  writer.writeToFile("/dev/full", "game");
  EXPECT_FALSE(files().exists("no"));
}

TEST_F(ScenarioThreadTest, ChangesAndLogsNothingWhileTheScenarioInForceIsAskedFor) {
  for (int i = 0; i < 3; ++i)
    EXPECT_EQ(cycle(), Lines{});
  EXPECT_EQ(thread().currentScenName, "Default");
  EXPECT_EQ(files().read("wanted.scen"), "Default");
  EXPECT_EQ(files().read("request.dconf"), "PARSED");
}

TEST_F(ScenarioThreadTest, SwitchesToAKnownScenarioInTheCycleAfterTheOneThatReadIt) {
  wantScenario("game\n");
  EXPECT_EQ(cycle(), Lines{});
  EXPECT_EQ(thread().requestedScenName, "game");
  EXPECT_EQ(thread().currentScenName, "Default");
  EXPECT_EQ(cycle(), (Lines{"[TalmorThermal] Changing Scenario Start (Default->game)\n",
                            "[TalmorThermal] All scenChangeDone to game\n"}));
  EXPECT_EQ(thread().currentScenName, "game");
  EXPECT_EQ(files().read("wanted.scen"), "game\n");
  EXPECT_EQ(cycle(), Lines{});
}

TEST_F(ScenarioThreadTest, ReadsAScenarioFileByItsFirstWordAlone) {
  wantScenario("game Default\nDefault");
  cycle();
  EXPECT_EQ(thread().requestedScenName, "game");
}

TEST_F(ScenarioThreadTest, DoesNotReadTheScenarioFileInTheCycleThatSwitches) {
  wantScenario("game");
  cycle();
  wantScenario("unknown");
  EXPECT_EQ(cycle(), (Lines{"[TalmorThermal] Changing Scenario Start (Default->game)\n",
                            "[TalmorThermal] All scenChangeDone to game\n"}));
  EXPECT_EQ(files().read("wanted.scen"), "unknown");
  EXPECT_EQ(cycle(), Lines{"[TalmorThermal] There is no scen name: unknown\n"});
  EXPECT_EQ(files().read("wanted.scen"), "game");
}

TEST_F(ScenarioThreadTest, MarksTheScenarioInForce) {
  EXPECT_TRUE(isActive("Default"));
  EXPECT_FALSE(isActive("game"));
  wantScenario("game");
  cycle();
  cycle();
  EXPECT_FALSE(isActive("Default"));
  EXPECT_TRUE(isActive("game"));
}

TEST_F(ScenarioThreadTest, LeavesAScenarioMarkedThatIsSwitchedToItself) {
  const RecordedLog log;
  thread().scenUpdateWithSensorThread(false);
  EXPECT_TRUE(isActive("Default"));
  EXPECT_EQ(log.lines(), (Lines{"[TalmorThermal] Changing Scenario Start (Default->Default)\n",
                                "[TalmorThermal] All scenChangeDone to Default\n"}));
}

TEST_F(ScenarioThreadTest, SwitchesFromAScenarioThatTheConfigurationDoesNotDeclare) {
  delete main().scenarios.at("Default");
  main().scenarios.erase("Default");
  wantScenario("game");
  cycle();
  cycle();
  EXPECT_EQ(thread().currentScenName, "game");
  EXPECT_TRUE(isActive("game"));
  EXPECT_EQ(main().scenarios.size(), 1u);
}

TEST_F(ScenarioThreadTest, AnswersAnUnknownScenarioWithTheOneInForce) {
  wantScenario("gaming");
  EXPECT_EQ(cycle(), Lines{"[TalmorThermal] There is no scen name: gaming\n"});
  EXPECT_EQ(files().read("wanted.scen"), "Default");
  EXPECT_EQ(thread().requestedScenName, "Default");
  EXPECT_EQ(main().scenarios.size(), 2u);
  EXPECT_EQ(cycle(), Lines{});
}

TEST_F(ScenarioThreadTest, TakesAScenarioMappedToNullForUnknown) {
  main().scenarios["ghost"] = nullptr;
  wantScenario("ghost");
  EXPECT_EQ(cycle(), Lines{"[TalmorThermal] There is no scen name: ghost\n"});
  EXPECT_EQ(files().read("wanted.scen"), "Default");
}

TEST_F(ScenarioThreadTest, AnswersAnEmptyScenarioFileWithTheScenarioInForce) {
  wantScenario(" \n");
  EXPECT_EQ(cycle(), Lines{"[TalmorThermal] There is no scen name: \n"});
  EXPECT_EQ(files().read("wanted.scen"), "Default");
}

TEST_F(ScenarioThreadTest, TellsScenarioNamesApartByCase) {
  wantScenario("Game");
  EXPECT_EQ(cycle(), Lines{"[TalmorThermal] There is no scen name: Game\n"});
}

TEST_F(ScenarioThreadTest, MakesAMissingScenarioFileAnewWithTheScenarioInForce) {
  board.switchTo("game");
  std::filesystem::remove(files().node("wanted.scen"));
  EXPECT_EQ(cycle(), Lines{"[TalmorThermal] No scen file\n"});
  EXPECT_EQ(files().read("wanted.scen"), "game");
  EXPECT_EQ(cycle(), Lines{});
}

TEST_F(ScenarioThreadTest, TreatsTheWordOfAMissingFileAsAMissingFile) {
  main().scenarios["ENOFILE"] = new Scenario("ENOFILE", false);
  files().write("config/ENOFILE", "");
  wantScenario("ENOFILE at last");
  requestConfiguration("ENOFILE");
  EXPECT_EQ(cycle(), (Lines{"[TalmorThermal] No scen file\n", "[TalmorThermal] No conf file\n"}));
  EXPECT_EQ(files().read("wanted.scen"), "Default");
  EXPECT_EQ(files().read("request.dconf"), "PARSED");
  EXPECT_EQ(thread().requestedScenName, "Default");
  EXPECT_EQ(thread().confState, "PARSED");
}

TEST_F(ScenarioThreadTest, MakesAMissingRequestFileAnew) {
  std::filesystem::remove(files().node("request.dconf"));
  EXPECT_EQ(cycle(), Lines{"[TalmorThermal] No conf file\n"});
  EXPECT_EQ(files().read("request.dconf"), "PARSED");
  EXPECT_EQ(cycle(), Lines{});
}

TEST_F(ScenarioThreadTest, TellsWhatIsAmissBeforeItPutsItRight) {
  RecordedLog log;
  log.noteBeside([this] {
    return wordOfFileStream(files().node("wanted.scen")) + " " +
           wordOfFileStream(files().node("request.dconf"));
  });
  wantScenario("dusk");
  requestConfiguration("dusk.conf");
  board.cycle();
  std::filesystem::remove(files().node("wanted.scen"));
  std::filesystem::remove(files().node("request.dconf"));
  board.cycle();
  EXPECT_EQ(log.lines(),
            (Lines{"[TalmorThermal] There is no scen name: dusk\ndusk dusk.conf",
                   "[TalmorThermal] There is no conf file: dusk.conf\nDefault dusk.conf",
                   "[TalmorThermal] No scen file\nENOFILE ENOFILE",
                   "[TalmorThermal] No conf file\nDefault ENOFILE"}));
}

TEST_F(ScenarioThreadTest, AnswersARequestForAnUnknownConfiguration) {
  requestConfiguration("night.conf\n");
  EXPECT_EQ(cycle(), Lines{"[TalmorThermal] There is no conf file: night.conf\n"});
  EXPECT_EQ(files().read("request.dconf"), "PARSED");
  EXPECT_EQ(thread().confState, "PARSED");
  EXPECT_EQ(cycle(), Lines{});
}

TEST_F(ScenarioThreadTest, DoesNothingForARequestThatReadsParsed) {
  files().write("config/PARSED", "");
  for (const char* content : {"PARSED", "PARSED\n", " PARSED night.conf"}) {
    requestConfiguration(content);
    EXPECT_EQ(cycle(), Lines{}) << content;
    EXPECT_EQ(thread().confState, "PARSED") << content;
    EXPECT_EQ(files().read("request.dconf"), content);
  }
  EXPECT_EQ(main().confFileName, "talmor-thermal_default.conf");
}

TEST_F(ScenarioThreadTest, TakesAValidRequestOverAndAppliesItInTheNextCycle) {
  files().write("config/night.conf", "");
  requestConfiguration("night.conf and more");
  EXPECT_EQ(cycle(), Lines{});
  EXPECT_EQ(thread().confState, "night.conf");
  EXPECT_EQ(files().read("request.dconf"), "night.conf and more");
  EXPECT_EQ(main().confFileName, "talmor-thermal_default.conf");
  cycle();
  EXPECT_EQ(thread().confState, "PARSED");
  EXPECT_EQ(files().read("request.dconf"), "PARSED");
  EXPECT_EQ(main().confFileName, "night.conf");
}

TEST_F(ScenarioThreadTest, JoinsTheRequestedNameToTheDirectoryAsItStands) {
  requestConfiguration("../factory.conf");
  cycle();
  EXPECT_EQ(thread().confState, "../factory.conf");
}

TEST_F(ScenarioThreadTest, LooksAtNoNewRequestWhileItAppliesOne) {
  files().write("config/night.conf", "");
  requestConfiguration("night.conf");
  cycle();
  requestConfiguration("missing.conf");
  cycle();
  EXPECT_EQ(files().read("request.dconf"), "PARSED");
  EXPECT_EQ(main().confFileName, "night.conf");
}

// A configuration without sensors declares no scenario, so each of these falls back.
TEST_F(ScenarioThreadTest, FallsBackToDefaultWhenTheNewConfigurationLacksTheScenarioInForce) {
  board.switchTo("game");
  files().write("config/night.conf", "");
  requestConfiguration("night.conf");
  cycle();
  EXPECT_EQ(cycle(), (Lines{"[TalmorThermal] Start to apply new CONF file\n",
                            "[TalmorThermal] Changing Scenario Start (game->game)\n",
                            "[TalmorThermal] All scenChangeDone to game\n",
                            "[TalmorThermal] There is no scen name in new conf file: game\n",
                            "[TalmorThermal] Changing Scenario Start (Default->Default)\n",
                            "[TalmorThermal] All scenChangeDone to Default\n",
                            "[TalmorThermal] Appling new CONF file is completed\n"}));
  EXPECT_EQ(thread().currentScenName, "Default");
  EXPECT_EQ(thread().requestedScenName, "Default");
  EXPECT_EQ(files().read("wanted.scen"), "Default");
  EXPECT_EQ(files().read("request.dconf"), "PARSED");
}

TEST_F(ScenarioThreadTest, NamesTheWordReadLastInsteadOfTheMissingScenario) {
  files().write("config/night.conf", "");
  wantScenario("game");
  requestConfiguration("night.conf");
  cycle();
  // This cycle switches first, and so reads nothing before it applies.
  const Lines lines = cycle();
  ASSERT_EQ(lines.size(), 9u);
  EXPECT_EQ(lines[1], "[TalmorThermal] All scenChangeDone to game\n");
  EXPECT_EQ(lines[5], "[TalmorThermal] There is no scen name in new conf file: night.conf\n");
}

TEST_F(ScenarioThreadTest, NamesEvenTheWordOfAMissingScenarioFile) {
  files().write("config/night.conf", "");
  requestConfiguration("night.conf");
  cycle();
  std::filesystem::remove(files().node("wanted.scen"));
  const Lines lines = cycle();
  ASSERT_EQ(lines.size(), 8u);
  EXPECT_EQ(lines[0], "[TalmorThermal] No scen file\n");
  EXPECT_EQ(lines[4], "[TalmorThermal] There is no scen name in new conf file: ENOFILE\n");
}

TEST_F(ScenarioThreadTest, ComplainsEverySecondWithoutADeclaredDefaultScenario) {
  files().write("config/night.conf", "");
  requestConfiguration("night.conf");
  cycle();
  cycle();
  for (int i = 0; i < 2; ++i)
    EXPECT_EQ(cycle(), Lines{"[TalmorThermal] There is no scen name: Default\n"});
}

TEST_F(ScenarioThreadTest, LetsAnEmptyRequestGoAheadWhereTheDirectoryOpens) {
  requestConfiguration("");
  EXPECT_EQ(cycle(), Lines{});
  EXPECT_EQ(thread().confState, "");
  const Lines lines = cycle();
  ASSERT_GE(lines.size(), 4u);
  EXPECT_EQ(lines[0], "[TalmorThermal] Start to apply new CONF file\n");
  EXPECT_EQ(lines[3], "[TalmorThermal] Unreadable conf file : " + main().confDir + "\n");
  EXPECT_EQ(lines.back(), "[TalmorThermal] Appling new CONF file is completed\n");
  EXPECT_EQ(files().read("request.dconf"), "PARSED");
  EXPECT_EQ(main().confFileName, "talmor-thermal_default.conf") << "the file in force is kept";
}

TEST_F(ScenarioThreadTest, RefusesAnEmptyRequestWhereTheDirectoryDoesNotOpen) {
  std::filesystem::remove_all(files().node("config"));
  requestConfiguration("");
  EXPECT_EQ(cycle(), Lines{"[TalmorThermal] There is no conf file: \n"});
  EXPECT_EQ(files().read("request.dconf"), "PARSED");
}

TEST_F(ScenarioThreadTest, ReadsTheFileInForceAgainWhereTheNewOneIsGoneMeanwhile) {
  files().write("config/night.conf", "");
  requestConfiguration("night.conf");
  cycle();
  std::filesystem::remove(files().node("config/night.conf"));
  const Lines lines = cycle();
  ASSERT_GE(lines.size(), 4u);
  EXPECT_EQ(lines[3],
            "[TalmorThermal] Unreadable conf file : " + files().node("config/night.conf") + "\n");
  EXPECT_EQ(main().confFileName, "talmor-thermal_default.conf");
  EXPECT_EQ(files().read("request.dconf"), "PARSED");
}

TEST_F(ScenarioThreadTest, EndsTheProcessWithStatusZeroForAnErrorInTheNewConfiguration) {
  files().write("config/broken.conf", "no header\n");
  requestConfiguration("broken.conf");
  cycle();
  RecordedLog log;
  log.echoToStandardError();
  EXPECT_EXIT(
      thread().cycle(), ::testing::ExitedWithCode(EXIT_SUCCESS),
      "\\[TalmorThermal\\] \\[CONF PARSE FAIL\\] Each item should be started with 'SCEN' or "
      "embraced with \\[name\\]\n$");
}

TEST_F(ScenarioThreadTest, ServesBothFilesInOneCycle) {
  files().write("config/night.conf", "");
  wantScenario("unknown");
  requestConfiguration("missing.conf");
  EXPECT_EQ(cycle(), (Lines{"[TalmorThermal] There is no scen name: unknown\n",
                            "[TalmorThermal] There is no conf file: missing.conf\n"}));
}

TEST_F(ScenarioThreadTest, WritesNoLineWithLoggingOff) {
  const LogSwitchedOff off;
  files().write("config/night.conf", "");
  wantScenario("unknown");
  requestConfiguration("missing.conf");
  EXPECT_EQ(cycle(), Lines{});
  std::filesystem::remove(files().node("wanted.scen"));
  std::filesystem::remove(files().node("request.dconf"));
  EXPECT_EQ(cycle(), Lines{});
  wantScenario("game");
  requestConfiguration("night.conf");
  EXPECT_EQ(cycle(), Lines{});
  EXPECT_EQ(cycle(), Lines{});
  EXPECT_EQ(files().read("wanted.scen"), "Default");
  EXPECT_EQ(main().confFileName, "night.conf");
}

TEST_F(ScenarioThreadTest, IsWokenByTheLastSensorThreadThatChecksIn) {
  thread().pendingCount = 2;
  std::atomic<bool> waiting{false};
  const std::future<void> wait = std::async(std::launch::async, [&] {
    std::unique_lock<std::mutex> lock(thread().loopMutex);
    waiting = true;
    thread().activateCond.wait(lock);
  });
  ASSERT_TRUE(eventually([&] { return waiting.load(); }));
  thread().checkIn();
  EXPECT_EQ(thread().pendingCount, 1);
  EXPECT_TRUE(staysUnderWay(wait));
  thread().checkIn();
  EXPECT_EQ(thread().pendingCount, 0);
  EXPECT_TRUE(eventually([&] { return isOver(wait); }));
}

TEST_F(ScenarioThreadTest, CountsACheckInOnlyWhileItIsNotLookingAtTheCount) {
  thread().pendingCount = 1;
  std::unique_lock<std::mutex> looking(thread().loopMutex);
  const std::future<void> arrival = std::async(std::launch::async, [this] { thread().checkIn(); });
  EXPECT_TRUE(staysUnderWay(arrival));
  EXPECT_EQ(thread().pendingCount, 1);
  looking.unlock();
  EXPECT_TRUE(eventually([&] { return isOver(arrival); }));
  EXPECT_EQ(thread().pendingCount, 0);
}

} // namespace
