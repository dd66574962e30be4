#include "fit/RecordingFiles.h"

#include <optional>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

#include <gtest/gtest.h>
#include <zlib.h>

#include "support/LogSwitchedOff.h"
#include "support/SysfsDir.h"
#include "thermalctl/fit/FitExamples.h"
#include "thermalctl/support/ProblemText.h"

namespace {

constexpr char kBoardOfFit[] = "[chip_t]\ntype real\nsampling 1000\nnode_path /nowhere/chip\n\n"
                               "[case_t]\ntype real\nsampling 1000\nnode_path /nowhere/case\n\n"
                               "[alarm]\ntype cpufreq\nnode_path /nowhere/alarm\n"
                               "level_table 2 1 0\n\n"
                               "[clock]\ntype cpufreq\nnode_path /nowhere/clock\n"
                               "level_table 2000 1000\n";

// What a table has to tell of the sources.
constexpr char kTable[] = "time,case_t,cpu,panel\n0,30,1,0\n1,31,1,0.5\n2,31.5,0,0.5\n";

const std::string kTraceHead = "run,time_ms,event,name,value,detail\n";

class RecordingFilesTest : public testing::Test {
protected:
  RecordingFilesTest() : board(readBoard()), plant(readPlantOf(board)) {}

  // Of files of the folder.
  std::optional<Recorded> read(const std::vector<std::string>& names) {
    std::vector<std::string> paths;
    paths.reserve(names.size());
    for (const std::string& name : names)
      paths.push_back(folder.node(name));
    problems = Problems();
    remarks.clear();
    return readRecording(paths, plant, board, problems, remarks);
  }

  // Of a trace of these lines, beside a table that tells of the sources.
  std::optional<Recorded> readTrace(const std::string& lines) {
    folder.write("trace.csv", kTraceHead + lines);
    folder.write("loads.csv", "time,cpu,panel\n0,1,0\n2,1,0\n");
    return read({"trace.csv", "loads.csv"});
  }

  std::string told() const { return problemText(problems, folder); }
  std::string remarked() const {
    std::string all;
    for (const std::string& remark : remarks)
      all += bare(remark) + "\n";
    return all;
  }
  std::string bare(const std::string& text) const { return withoutFolder(text, folder); }

  void writeCompressed(const std::string& name, const std::string& text) const {
    const gzFile file = ::gzopen(folder.node(name).c_str(), "wb");
    ::gzwrite(file, text.data(), static_cast<unsigned>(text.size()));
    ::gzclose(file);
  }

  const LogSwitchedOff quiet;
  const SysfsDir folder;
  const BoardFolder board;
  PlantDescription plant;
  Problems problems;
  std::vector<std::string> remarks;

private:
  BoardFolder readBoard() const {
    std::vector<std::string> wrong;
    BoardFolder read({folder.write("board.env", kBoardOfFit), {}}, wrong);
    EXPECT_TRUE(wrong.empty());
    return read;
  }
  static PlantDescription readPlantOf(const BoardFolder& board) {
    Problems wrong;
    return readPlant(fit_examples::kPlant, "plant.toml", board.description(), wrong);
  }
};

TEST_F(RecordingFilesTest, ReadsATableOfMeasurementsPlainOrCompressed) {
  folder.write("rails.csv", kTable);
  writeCompressed("rails.csv.gz", kTable);
  for (const char* name : {"rails.csv", "rails.csv.gz"}) {
    const auto recorded = read({name});
    ASSERT_TRUE(recorded) << told();
    EXPECT_EQ(bare(recorded->name), name);
    ASSERT_EQ(recorded->files.size(), 1U);
    EXPECT_EQ(bare(recorded->files[0].name), name);
    EXPECT_EQ(recorded->files[0].rows.size(), 3U);
    EXPECT_EQ(remarked(), "");
  }
}

TEST_F(RecordingFilesTest, ACompressedTableThatIsCutOffIsTakenAndTold) {
  writeCompressed("rails.csv.gz", kTable);
  const std::string whole = folder.read("rails.csv.gz");
  // The eight bytes behind the data are a sum and a length.
  folder.write("rails.csv.gz", whole.substr(0, whole.size() - 8));
  const auto recorded = read({"rails.csv.gz"});
  ASSERT_TRUE(recorded) << told();
  EXPECT_EQ(recorded->files[0].rows.size(), 3U);
  EXPECT_EQ(remarked(), "rails.csv.gz: its compressed data end in the middle; what comes before is "
                        "shown\n");
}

TEST_F(RecordingFilesTest, TakesTemperaturesAndLevelsOfATrace) {
  const auto recorded = readTrace("day,0,level,clock,0,2000\n"
                                  "day,0,temperature,case_t,30500,\n"
                                  "day,0,temperature,chip_t,41000,\n"
                                  "day,250,temperature,chip_t,41250,\n"
                                  "day,300,level,clock,1,1000\n"
                                  "day,2000,end,,,\n");
  ASSERT_TRUE(recorded) << told();
  EXPECT_EQ(bare(recorded->name), "trace.csv,loads.csv");
  const RecordedFile& trace = recorded->files[0];
  // Two that are read in one millisecond are one row.
  ASSERT_EQ(trace.rows.size(), 2U);
  EXPECT_EQ(trace.rows[0].end, 2U);
  EXPECT_EQ(trace.rows[1].time, 0.25);
  EXPECT_EQ(trace.rows[1].first, 2U);
  EXPECT_EQ(trace.rows[1].end, 3U);
  // As the plant counts them, in which the chip is the first.
  EXPECT_EQ(trace.readings[0].output, 1U);
  EXPECT_EQ(trace.readings[0].celsius, 30.5);
  EXPECT_EQ(trace.readings[1].output, 0U);
  // As the board counts them, of whose devices the clock is the second.
  ASSERT_EQ(trace.changes.size(), 2U);
  EXPECT_EQ(trace.changes[1].kind, RecordedChange::Kind::kLevel);
  EXPECT_EQ(trace.changes[1].index, 1U);
  EXPECT_EQ(trace.changes[1].value, 1);
  EXPECT_EQ(trace.changes[1].time, 0.3);
  EXPECT_EQ(trace.last, 2);
}

TEST_F(RecordingFilesTest, OfATraceWhatIsNeitherSensorNorDeviceOfTheBoardIsPassedOver) {
  const auto recorded = readTrace("day,0,plant,chip_t,99000,\n"
                                  "day,0,temperature,other,98000,\n"
                                  "day,0,level,other,1,\n"
                                  "day,0,temperature,chip_t,41000,\n"
                                  "day,9,end,,,\n");
  ASSERT_TRUE(recorded) << told();
  ASSERT_EQ(recorded->files[0].readings.size(), 1U);
  EXPECT_EQ(recorded->files[0].readings[0].celsius, 41);
  EXPECT_TRUE(recorded->files[0].changes.empty());
}

TEST_F(RecordingFilesTest, ReadingsOfZeroInATraceAreLeftOutAndTold) {
  const auto recorded = readTrace("day,0,temperature,chip_t,41000,\n"
                                  "day,100,temperature,chip_t,0,\n"
                                  "day,200,temperature,chip_t,0,\n"
                                  "day,300,temperature,chip_t,41000,\n"
                                  "day,900,end,,,\n");
  ASSERT_TRUE(recorded) << told();
  EXPECT_EQ(recorded->files[0].rows.size(), 2U);
  EXPECT_NE(remarked().find("trace.csv: 2 readings of 0, as after a read that failed: left out\n"),
            std::string::npos)
      << remarked();
}

TEST_F(RecordingFilesTest, OfSeveralRunsTheFirstAloneIsTaken) {
  const auto recorded = readTrace("day,0,temperature,chip_t,41000,\n"
                                  "day,1000,end,,,\n"
                                  "night,0,temperature,chip_t,22000,\n"
                                  "night,0,level,clock,1,\n"
                                  "night,500,gap,,400,\n"
                                  "night,9000,end,,,\n");
  ASSERT_TRUE(recorded) << told();
  ASSERT_EQ(recorded->files[0].readings.size(), 1U);
  EXPECT_EQ(recorded->files[0].readings[0].celsius, 41);
  EXPECT_TRUE(recorded->files[0].changes.empty());
  EXPECT_TRUE(recorded->files[0].gaps.empty());
  EXPECT_EQ(recorded->files[0].last, 1);
  EXPECT_NE(remarked().find("trace.csv: of its runs only the first is taken\n"), std::string::npos)
      << remarked();
}

TEST_F(RecordingFilesTest, AGapOfAllIsOneAndThatOfASensorIsNone) {
  const auto recorded = readTrace("day,0,temperature,chip_t,41000,\n"
                                  "day,5000,gap,,2500,\n"
                                  "day,7000,gap,chip_t,1000,\n"
                                  "day,9000,temperature,chip_t,41000,\n"
                                  "day,9000,end,,,\n");
  ASSERT_TRUE(recorded) << told();
  ASSERT_EQ(recorded->files[0].gaps.size(), 1U);
  EXPECT_EQ(recorded->files[0].gaps[0], std::pair(2.5, 5.0));
}

TEST_F(RecordingFilesTest, WhatCannotBeReadIsToldByItsName) {
  folder.write("device.log", "nothing of the daemon's\n");
  folder.write("trace.csv", kTraceHead);
  folder.write("rails.csv", kTable);
  EXPECT_FALSE(read({"rails.csv", "device.log", "trace.csv", "missing.csv"}));
  EXPECT_NE(told().find("device.log: error: no message of the daemon is in it\n"),
            std::string::npos)
      << told();
  EXPECT_NE(told().find("trace.csv: error: it holds no run\n"), std::string::npos) << told();
  EXPECT_NE(told().find("missing.csv: error: cannot be read: "), std::string::npos) << told();
}

TEST_F(RecordingFilesTest, ATableThatIsWrongIsToldWithItsLine) {
  folder.write("rails.csv", "time,case_t,cpu,panel\n0,30,1,0\n1,hot,1,0\n");
  EXPECT_FALSE(read({"rails.csv"}));
  EXPECT_NE(told().find("rails.csv:3:3: error: 'hot' is no number"), std::string::npos) << told();
}

TEST_F(RecordingFilesTest, NeedsAFile) {
  EXPECT_FALSE(read({}));
  EXPECT_EQ(told(), "--recording: error: names no file\n");
}

TEST_F(RecordingFilesTest, ASourceOfWhichNothingIsToldIsAskedFor) {
  folder.write("rails.csv", "time,case_t,panel\n0,30,1\n1,31,1\n");
  EXPECT_FALSE(read({"rails.csv"}));
  EXPECT_EQ(told(),
            "rails.csv: error: nothing tells what 'cpu' gives off: no file has a column of that "
            "name\n"
            "      hint: add a column 'cpu' of its load or 'cpu:W' of its watts, or give the "
            "source a 'load' in the plant\n");
  folder.write("rails.csv", "time,case_t,ambient\n0,30,20\n1,31,20\n");
  EXPECT_FALSE(read({"rails.csv"}));
  EXPECT_NE(told().find("nothing tells what 'cpu' and 'panel' give off"), std::string::npos)
      << told();
}

TEST_F(RecordingFilesTest, ASourceIsToldByItsWattsByAnotherFileOrByThePlant) {
  folder.write("rails.csv", "time,case_t,cpu:W\n0,30,1\n1,31,1\n");
  folder.write("panel.csv", "time,panel\n0,0.5\n1,1\n");
  EXPECT_TRUE(read({"rails.csv", "panel.csv"})) << told();
  EXPECT_FALSE(read({"rails.csv"}));
  plant.sources[1].load = 0.5;
  EXPECT_TRUE(read({"rails.csv"})) << told();
}

TEST_F(RecordingFilesTest, TimesSince1970CountFromTheEarliestOfThem) {
  folder.write("rails.csv", "time,case_t,cpu\n1700000010,30,1\n1700000011.5,31,1\n");
  folder.write("panel.csv", "time,panel\n1700000008,0.5\n1700000012,1\n");
  const auto recorded = read({"rails.csv", "panel.csv"});
  ASSERT_TRUE(recorded) << told();
  EXPECT_EQ(recorded->files[0].first, 2);
  EXPECT_EQ(recorded->files[0].rows[1].time, 3.5);
  EXPECT_EQ(recorded->files[1].first, 0);
  EXPECT_EQ(recorded->files[1].changes[1].time, 4);
}

TEST_F(RecordingFilesTest, ATimeThatCountsFromTheStartOfItsFileStaysBesideOneSince1970) {
  folder.write("rails.csv", "time,case_t,cpu\n10,30,1\n11,31,1\n");
  folder.write("panel.csv", "time,panel\n1700000008,0.5\n1700000012,1\n");
  const auto recorded = read({"rails.csv", "panel.csv"});
  ASSERT_TRUE(recorded) << told();
  EXPECT_EQ(recorded->files[0].first, 10);
  EXPECT_EQ(recorded->files[1].first, 0);
}

TEST_F(RecordingFilesTest, FilesOfARecordingOverlapOrAreAMinuteApartAtMost) {
  folder.write("rails.csv", "time,case_t,cpu\n0,30,1\n100,31,1\n");
  for (const auto& [from, to, good] : {std::tuple(159, 170, true), std::tuple(160, 170, false),
                                       std::tuple(-80, -59, true), std::tuple(-80, -60, false)}) {
    folder.write("panel.csv", "# of the panel\ntime,chip_t,panel\n" + std::to_string(from) +
                                  ",40,1\n" + std::to_string(to) + ",40,0\n");
    EXPECT_EQ(read({"rails.csv", "panel.csv"}).has_value(), good) << from << told();
  }
  EXPECT_EQ(told().substr(0, told().find('\n')),
            "panel.csv:3:1: error: the files of a recording do not overlap: this one goes from -80 "
            "s to -60 s, and rails.csv from 0 s to 100 s");
}

TEST_F(RecordingFilesTest, AFileWithoutReadingsDoesNotOverlapByItself) {
  folder.write("rails.csv", "time,case_t,cpu\n0,30,1\n100,31,1\n");
  folder.write("panel.csv", "time,panel\n200,1\n300,0\n");
  EXPECT_FALSE(read({"rails.csv", "panel.csv"}));
  EXPECT_NE(told().find("panel.csv: error: the files of a recording do not overlap"),
            std::string::npos)
      << told();
}

TEST_F(RecordingFilesTest, AClockIsSetForAllThatIsInTheFile) {
  RecordedFile file;
  file.first = 1;
  file.last = 9;
  file.rows = {{1, 0, 0, 0}, {2, 0, 0, 0}};
  file.changes = {{3, RecordedChange::Kind::kLoad, 0, 1}};
  file.gaps = {{4, 5}};
  shift(file, 2.5);
  EXPECT_EQ(file.first, 3.5);
  EXPECT_EQ(file.last, 11.5);
  EXPECT_EQ(file.rows[0].time, 3.5);
  EXPECT_EQ(file.rows[1].time, 4.5);
  EXPECT_EQ(file.changes[0].time, 5.5);
  EXPECT_EQ(file.changes[0].value, 1);
  EXPECT_EQ(file.gaps[0], std::pair(6.5, 7.5));
}

} // namespace
