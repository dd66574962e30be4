#include "fit/MeasurementFile.h"

#include <cmath>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "thermalctl/fit/FitExamples.h"
#include "thermalctl/log/TextLines.h"

namespace {

class MeasurementFileTest : public testing::Test {
protected:
  RecordedFile read(const std::string& text) {
    TextLines lines(text);
    const PlantDescription plant = fit_examples::plantOf();
    return readMeasurements(lines, "rails.csv", plant, fit_examples::board(), problems, remarks);
  }

  std::string told() const {
    std::ostringstream out;
    problems.print(out);
    return out.str();
  }

  Problems problems;
  std::vector<std::string> remarks;
};

TEST_F(MeasurementFileTest, TakesColumnsByNameAndUnit) {
  const RecordedFile file = read("time_ms,chip_t:mC,node:case,cpu:mW,panel:%,ambient\n"
                                 "0,31500,,250,50,21\n"
                                 "500,,28.5,250,,\n"
                                 "1000,31700,28.6,300,50,22\n");
  EXPECT_EQ(told(), "");
  ASSERT_EQ(file.rows.size(), 3U);
  EXPECT_EQ(file.rows[1].time, 0.5);
  EXPECT_EQ(file.rows[1].line, 3);
  EXPECT_EQ(file.readings[0].output, 0U);
  EXPECT_EQ(file.readings[0].celsius, 31.5);
  // Behind the two probes the chip and then the case.
  EXPECT_EQ(file.readings[1].output, 3U);
  // What only repeats is no change, but in the last line: there all three stand again.
  ASSERT_EQ(file.changes.size(), 6U);
  EXPECT_EQ(file.changes[0].kind, RecordedChange::Kind::kWatts);
  EXPECT_EQ(file.changes[0].value, 0.25);
  EXPECT_EQ(file.changes[1].value, 0.5);
  EXPECT_EQ(file.changes[5].kind, RecordedChange::Kind::kAmbient);
}

TEST_F(MeasurementFileTest, PassesOverOtherColumnsAndTellsThem) {
  const RecordedFile file = read("time,chip_tt,case_t,note\n0,30,25,1\n1,30,26,2\n");
  EXPECT_EQ(file.readings.size(), 2U);
  ASSERT_EQ(remarks.size(), 2U);
  EXPECT_NE(remarks[0].find("'chip_tt' is passed over"), std::string::npos);
  EXPECT_NE(remarks[0].find("did you mean 'chip_t'?"), std::string::npos);
}

TEST_F(MeasurementFileTest, TellsUnitsThatCannotBeMeant) {
  const std::pair<const char*, const char*> cases[] = {
      {"time,chip_t\n0,30\n1,31500\n", "rails.csv:3:1: error: 'chip_t' is 31500"},
      {"time,chip_t:mC\n0,0.03\n1,0.04\n", "has another unit than its name says"},
      {"time,cpu:W\n0,0\n1,2500\n", "milliwatts are 'cpu:mW'"},
      {"time,cpu\n0,0\n1,55\n", "percents are 'cpu:%'"},
      {"time,cpu:W\n0,-1\n1,2\n", "no less than 0 W"},
  };
  for (const auto& [text, message] : cases) {
    problems = Problems();
    read(text);
    EXPECT_NE(told().find(message), std::string::npos) << text << told();
  }
}

TEST_F(MeasurementFileTest, TellsATimeInMillisecondsThatIsCalledSeconds) {
  std::string text = "time,chip_t\n";
  for (int i = 0; i < 30; ++i)
    text += std::to_string(i * 1000) + ",30\n";
  read(text);
  EXPECT_NE(told().find("milliseconds are 'time_ms'"), std::string::npos) << told();
}

TEST_F(MeasurementFileTest, ASilenceBetweenEvenRowsIsAGap) {
  std::string text = "time,chip_t,cpu\n";
  for (int i = 0; i < 60; ++i)
    text += std::to_string(i < 30 ? i : i + 100) + ",30,0.5\n";
  const RecordedFile file = read(text);
  ASSERT_EQ(file.gaps.size(), 1U);
  EXPECT_EQ(file.gaps[0], std::pair(29.0, 130.0));
}

TEST_F(MeasurementFileTest, RowsWhereSomethingChangesAloneHaveNoGapAndNoEnd) {
  const RecordedFile file = read("time,cpu\n0,1\n5m,0\n1h,0.5\n");
  EXPECT_TRUE(file.gaps.empty());
  EXPECT_GT(file.last, 1e6);
  EXPECT_EQ(file.changes[2].time, 3600);
}

TEST_F(MeasurementFileTest, ZerosBetweenReadingsAreAFailedRead) {
  const RecordedFile file = read("time,chip_t\n0,30\n1,0\n2,0\n3,31\n");
  EXPECT_EQ(file.readings.size(), 2U);
  ASSERT_EQ(remarks.size(), 1U);
  EXPECT_NE(remarks[0].find("rails.csv:3: 'chip_t' is 0"), std::string::npos);
}

TEST_F(MeasurementFileTest, ADeviceInTheFrostMayHaveZeros) {
  EXPECT_EQ(read("time,chip_t\n0,2\n1,0\n2,0\n3,-1\n").readings.size(), 4U);
}

TEST_F(MeasurementFileTest, ZerosBeforeTheFirstReadingAreAFailedRead) {
  const RecordedFile file = read("time,chip_t\n0,0\n1,0\n2,30\n3,31\n");
  EXPECT_EQ(file.readings.size(), 2U);
  ASSERT_EQ(remarks.size(), 1U);
  EXPECT_NE(remarks[0].find("rails.csv:2: 'chip_t' is 0 from 0:00:00 to 0:00:01"),
            std::string::npos)
      << remarks[0];
}

TEST_F(MeasurementFileTest, AMorningMayBeginWithFrost) {
  EXPECT_EQ(read("time,chip_t\n0,0\n1,0\n2,1\n3,12\n").readings.size(), 4U);
}

TEST_F(MeasurementFileTest, WhatCannotBeReadIsToldWithItsPlace) {
  const std::pair<const char*, const char*> cases[] = {
      {"", "rails.csv:1:1: error: the file is empty"},
      {"# a remark alone\n", "there are no columns"},
      {"seconds,chip_t\n0,30\n1,30\n", "rails.csv:1:1: error: there is no column 'time'"},
      {"time,time_ms,chip_t\n0,0,30\n1,1000,30\n", "more than one column is the time"},
      {"time,chip_t,chip_t\n0,30,30\n1,30,30\n",
       "rails.csv:1:13: error: the column 'chip_t' is there twice"},
      {"time,foo\n0,30\n1,30\n", "no column is a sensor"},
      {"time,chip_t\n", "no row follows"},
      {"time,chip_t\n0,30\n", "one row alone follows"},
      {"time,chip_t\n0,30\n1,nan\n", "rails.csv:3:3: error: 'nan' is no number"},
      {"time,chip_t\n0,30\n1,inf\n", "rails.csv:3:3: error: 'inf' is no number"},
      {"time,chip_t\n0,30\n1,1e999\n", "rails.csv:3:3: error: '1e999' is no number"},
      {"time,chip_t\n0,30\nnan,30\n", "rails.csv:3:1: error: 'nan' is no time"},
      {"time,chip_t\n0,30\n1700000000000000000,30\n", "is no time that there has been"},
      {"time,chip_t\n1,30\n0,30\n", "rails.csv:3:1: error: the times must not go back"},
      {"time,chip_t\n0,30\n1,30,4\n", "rails.csv:3:6: error: more cells than columns"},
      {"time,chip_t\n0,-274\n1,30\n", "nothing is that cold"},
      {"time,ambient\n0,21000\n1,21000\n", "millidegrees are 'ambient:mC'"},
  };
  for (const auto& [text, message] : cases) {
    problems = Problems();
    EXPECT_TRUE(read(text).readings.empty()) << text;
    EXPECT_NE(told().find(message), std::string::npos) << text << told();
  }
}

TEST_F(MeasurementFileTest, DegreesThatAreCalledMillidegreesAreToldThoughTheyStay) {
  read("time,chip_t:mC\n0,30\n1,30\n");
  EXPECT_NE(told().find("has another unit than its name says"), std::string::npos) << told();
}

TEST_F(MeasurementFileTest, TakesRemarksAndWhiteSpaceForWhatTheyAre) {
  const RecordedFile file =
      read("# by the rail logger\n time , chip_t \n\n0, 30\r\n# paused\n1,\t31\n");
  EXPECT_EQ(told(), "");
  ASSERT_EQ(file.rows.size(), 2U);
  EXPECT_EQ(file.rows[1].line, 6);
  EXPECT_EQ(file.readings[1].celsius, 31);
}

TEST_F(MeasurementFileTest, ASensorsNameThatIsASourcesTooIsToldByItsValues) {
  PlantDescription plant = fit_examples::plantOf();
  plant.sources[0].name = "chip_t";
  const std::pair<const char*, RecordedChange::Kind> loads[] = {
      {"time,chip_t\n0,0.2\n1,1\n", RecordedChange::Kind::kLoad},
      {"time,chip_t:load\n0,0.2\n1,1\n", RecordedChange::Kind::kLoad},
      {"time,chip_t:W\n0,0.2\n1,1\n", RecordedChange::Kind::kWatts}};
  for (const auto& [text, kind] : loads) {
    TextLines lines(text);
    const RecordedFile file =
        readMeasurements(lines, "rails.csv", plant, fit_examples::board(), problems, remarks);
    ASSERT_EQ(file.changes.size(), 2U) << text;
    EXPECT_EQ(file.changes[0].kind, kind) << text;
  }
  for (const char* text : {"time,chip_t\n0,20\n1,1\n", "time,chip_t:C\n0,0.2\n1,1\n"}) {
    TextLines lines(text);
    EXPECT_EQ(readMeasurements(lines, "rails.csv", plant, fit_examples::board(), problems, remarks)
                  .readings.size(),
              2U)
        << text;
  }
}

} // namespace
