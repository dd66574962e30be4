#include "log/JoinedLog.h"

#include <filesystem>
#include <fstream>

#include <gtest/gtest.h>
#include <stdlib.h>

namespace {

using Lines = std::vector<std::string>;

class JoinedLogTest : public ::testing::Test {
protected:
  JoinedLogTest() {
    std::string name = (std::filesystem::temp_directory_path() / "parts-XXXXXX").string();
    folder = ::mkdtemp(name.data());
  }
  ~JoinedLogTest() override { std::filesystem::remove_all(folder); }

  static std::string line(int second, const std::string& word, int pid = 1234) {
    return std::to_string(second) + ".000  " + std::to_string(pid) +
           "  5678 V echo-service: [TalmorThermal] There is no scen name: " + word;
  }

  void write(const std::string& name, const Lines& lines) {
    std::ofstream file(folder / name);
    for (const std::string& each : lines)
      file << each << '\n';
    files.emplace_back(folder / name);
    given.push_back({folder / name, &files.back(), {}});
  }

  // The names of each log's parts.
  std::vector<Lines> logs() {
    std::vector<Lines> names;
    for (const auto& parts : partsOfLogs(given)) {
      names.emplace_back();
      for (const JoinedLog::Part& part : parts)
        names.back().push_back(std::filesystem::path(part.name).filename());
    }
    return names;
  }

  Lines joined() {
    JoinedLog log(partsOfLogs(given).at(0));
    Lines lines;
    std::string_view each;
    for (log.rewind(); log.next(each);)
      lines.emplace_back(each);
    return lines;
  }

  std::filesystem::path folder;
  std::deque<LineFile> files;
  std::vector<JoinedLog::Part> given;
};

TEST_F(JoinedLogTest, KnowsThePartsOfARotatedLogByTheirNames) {
  write("phone.log", {line(50, "c")});
  write("other.log", {line(1, "x", 99)});
  write("phone.log.2.gz", {line(10, "a")});
  write("phone.log.1", {line(30, "b")});
  EXPECT_EQ(logs(),
            (std::vector<Lines>{{"phone.log.2.gz", "phone.log.1", "phone.log"}, {"other.log"}}));
}

TEST_F(JoinedLogTest, OrdersPartsWithoutTimesByTheirNumbers) {
  for (const char* name : {"phone.log.1", "phone.log", "phone.log.10", "phone.log.9"})
    write(name, {"V/echo-service: [TalmorThermal] No scen file"});
  EXPECT_EQ(logs(),
            (std::vector<Lines>{{"phone.log.10", "phone.log.9", "phone.log.1", "phone.log"}}));
}

TEST_F(JoinedLogTest, KnowsPartsByOneThatGoesOnWhereAnotherEnds) {
  write("z.log", {line(10, "a"), line(20, "b")});
  write("m.log", {line(40, "d"), line(50, "e")});
  write("a.log", {line(30, "c")});
  EXPECT_EQ(logs(), (std::vector<Lines>{{"z.log", "a.log", "m.log"}}));
  EXPECT_EQ(joined(),
            (Lines{line(10, "a"), line(20, "b"), line(30, "c"), line(40, "d"), line(50, "e")}));
}

TEST_F(JoinedLogTest, LeavesLogsApartThatDoNotGoOn) {
  write("a.log", {line(10, "a"), line(20, "b")});
  write("later.log", {line(31, "c")});
  write("restarted.log", {line(21, "c", 99)});
  write("again.log", {line(10, "a"), line(20, "b")});
  EXPECT_EQ(logs(),
            (std::vector<Lines>{{"a.log"}, {"later.log"}, {"restarted.log"}, {"again.log"}}));
}

TEST_F(JoinedLogTest, LeavesOutWhatADumpHasTwice) {
  write("second.log", {line(20, "b"), line(30, "c"), line(30, "d"), line(40, "e")});
  write("first.log", {line(10, "a"), line(20, "b"), line(30, "c")});
  EXPECT_EQ(joined(),
            (Lines{line(10, "a"), line(20, "b"), line(30, "c"), line(30, "d"), line(40, "e")}));
}

TEST_F(JoinedLogTest, JoinsPartsAcrossANewYear) {
  const std::string rest = "  1234  5678 V echo-service: [TalmorThermal] No scen file";
  write("phone.log", {"01-01 00:00:01.000" + rest});
  write("phone.log.1", {"12-31 23:59:59.000" + rest});
  EXPECT_EQ(logs(), (std::vector<Lines>{{"phone.log.1", "phone.log"}}));
}

TEST_F(JoinedLogTest, TellsWhereALineStands) {
  write("second.log", {line(20, "b"), line(30, "c")});
  write("first.log", {line(10, "a"), line(20, "b")});
  JoinedLog log(partsOfLogs(given).at(0));
  std::string_view each;
  for (log.rewind(); log.next(each);) {
  }
  EXPECT_EQ(log.placeOf(2), "line 2 of " + (folder / "first.log").string());
  EXPECT_EQ(log.placeOf(3), "line 2 of " + (folder / "second.log").string());
}

} // namespace
