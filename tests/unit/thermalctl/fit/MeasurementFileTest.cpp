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

// A reading of the chip at each of these times.
std::string readAt(const std::vector<double>& times) {
  std::ostringstream text;
  text << "time,chip_t\n";
  for (const double time : times)
    text << time << ",30\n";
  return text.str();
}

// So many times, as far apart.
std::vector<double> evenTimes(size_t count, double step) {
  std::vector<double> times;
  for (size_t i = 0; i < count; ++i)
    times.push_back(static_cast<double>(i) * step);
  return times;
}

TEST_F(MeasurementFileTest, ColumnsGoByTheirUnitsAlone) {
  struct {
    const char* column;
    RecordedChange::Kind kind;
    double value;
  } const cases[] = {{"cpu", RecordedChange::Kind::kLoad, 0.5},
                     {"cpu:load", RecordedChange::Kind::kLoad, 0.5},
                     {"cpu:%", RecordedChange::Kind::kLoad, 0.005},
                     {"cpu:W", RecordedChange::Kind::kWatts, 0.5},
                     {"ambient", RecordedChange::Kind::kAmbient, 0.5},
                     {"ambient:C", RecordedChange::Kind::kAmbient, 0.5}};
  for (const auto& each : cases) {
    const RecordedFile file = read("time," + std::string(each.column) + "\n0,0.5\n1,0.5\n");
    ASSERT_EQ(file.changes.size(), 2U) << each.column << told();
    EXPECT_EQ(file.changes[0].kind, each.kind) << each.column;
    EXPECT_DOUBLE_EQ(file.changes[0].value, each.value) << each.column;
  }
  EXPECT_TRUE(remarks.empty());
}

TEST_F(MeasurementFileTest, AUnitThatItsNameCannotHaveIsPassedOver) {
  for (const char* column :
       {"case_t:W", "case_t:%", "ambient:W", "panel:C", "panel:kW", "case_t:"}) {
    remarks.clear();
    const RecordedFile file = read("time,chip_t," + std::string(column) + "\n0,30,0.5\n1,30,0.5\n");
    EXPECT_EQ(file.readings.size(), 2U) << column;
    EXPECT_TRUE(file.changes.empty()) << column;
    ASSERT_EQ(remarks.size(), 1U) << column;
    EXPECT_EQ(remarks[0].rfind("rails.csv: the column '" + std::string(column) +
                                   "' is passed over: no sensor, node or source",
                               0),
              0U)
        << remarks[0];
  }
}

TEST_F(MeasurementFileTest, AColumnWithoutANameIsPassedOverWithoutAWord) {
  EXPECT_EQ(read("time,,chip_t\n0,x,30\n1,y,31\n").readings.size(), 2U);
  EXPECT_EQ(told(), "");
  EXPECT_TRUE(remarks.empty());
}

TEST_F(MeasurementFileTest, ASensorComesBeforeTheNodeOfItsName) {
  PlantDescription plant = fit_examples::plantOf();
  plant.nodes[1].name = "chip_t";
  TextLines lines("time,chip_t,node:chip_t\n0,30,40\n1,30,40\n");
  const RecordedFile file =
      readMeasurements(lines, "rails.csv", plant, fit_examples::board(), problems, remarks);
  ASSERT_EQ(file.readings.size(), 4U);
  EXPECT_EQ(file.readings[0].output, 0U);
  EXPECT_EQ(file.readings[1].output, 3U);
  EXPECT_EQ(file.readings[1].celsius, 40);
}

TEST_F(MeasurementFileTest, ATimeMayHaveAUnitAndTheSameTimeMayComeTwice) {
  const RecordedFile file = read("time,chip_t\n250ms,30\n0.25,30\n1.5s,31\n1m30s,31\n");
  EXPECT_EQ(told(), "");
  ASSERT_EQ(file.rows.size(), 4U);
  EXPECT_EQ(file.rows[0].time, 0.25);
  EXPECT_EQ(file.rows[1].time, 0.25);
  EXPECT_EQ(file.rows[2].time, 1.5);
  EXPECT_EQ(file.rows[3].time, 90);
  EXPECT_EQ(file.first, 0.25);
}

TEST_F(MeasurementFileTest, ALineThatEndsEarlySaysNothingOfTheColumnsBehind) {
  const RecordedFile file = read("time,chip_t,case_t\n0,30\n1\n2,31,25\n");
  EXPECT_EQ(told(), "");
  ASSERT_EQ(file.rows.size(), 2U);
  EXPECT_EQ(file.rows[0].end, 1U);
  EXPECT_EQ(file.rows[1].time, 2);
  EXPECT_EQ(file.rows[1].line, 4);
  problems = Problems();
  read("chip_t,time\n30,0\n31\n");
  EXPECT_NE(told().find("rails.csv:3:1: error: '' is no time"), std::string::npos) << told();
}

TEST_F(MeasurementFileTest, AMistakeIsShownInItsLineWithWhatToDo) {
  read("time,chip_t\n0,30\n1, hot\n2,31\n");
  EXPECT_EQ(told(), "rails.csv:3:4: error: 'hot' is no number\n"
                    "    3 | 1, hot\n"
                    "      |    ^~~\n"
                    "      hint: leave the cell empty where nothing was measured\n");
}

TEST_F(MeasurementFileTest, OfAMistakeInEachLineTheFirstIsEnough) {
  read("time,chip_t\n0,a\n1,b\n2,c\n");
  EXPECT_EQ(told().find("rails.csv:3"), std::string::npos) << told();
  EXPECT_NE(told().find("rails.csv:2"), std::string::npos) << told();
}

TEST_F(MeasurementFileTest, WithoutAColumnOfTheirsTheNamesAreTold) {
  read("time,foo\n0,30\n1,30\n");
  EXPECT_NE(told().find("hint: there are 'ambient', 'chip_t', 'case_t', 'chip', 'case', 'cpu' and "
                        "'panel'\n"),
            std::string::npos)
      << told();
}

TEST_F(MeasurementFileTest, ValuesMayGoAsFarAsTheyCanBeMeant) {
  // Each with what is too much by the least that is told.
  struct {
    const char* column;
    const char* good;
    const char* wrong;
    const char* message;
  } const cases[] = {
      {"chip_t", "1000", "1000.1", "no part of a device is that hot, in degrees Celsius"},
      {"chip_t", "-273.15", "-273.2", "nothing is that cold, in degrees Celsius"},
      {"chip_t:mC", "1000", "999", "degrees are 'chip_t'"},
      {"chip_t:mC", "-1000", "-999", "degrees are 'chip_t'"},
      {"cpu", "1", "1.01", "'cpu' is 1.01: a load goes from 0 to 1"},
      {"cpu", "0", "-0.01", "'cpu' is -0.01: a load goes from 0 to 1"},
      {"cpu:%", "100", "101", "'cpu:%' is 101: a load goes from 0 to 1"},
      // By the plant it is 3 W and 0.2 W at idle.
      {"cpu:W", "320", "321", "'cpu:W' is 321: the plant's guess is 3.2 W"},
      {"cpu:mW", "11", "10", "watts are 'cpu:W'"},
      {"cpu:W", "0", "-0.1", "'cpu:W' is -0.1: a source of heat gives off no less than 0 W"},
      {"time_s,chip_t", "100000000000,30", "100000000001,30", "is no time that there has been"},
  };
  for (const auto& each : cases) {
    const bool isTime = std::string(each.column).rfind("time", 0) == 0;
    const std::string head = (isTime ? "" : "time,") + std::string(each.column);
    const auto table = [&](const std::string& value) {
      std::ostringstream text;
      text << head << (isTime ? "\n0,30\n" : "\n0,") << value;
      if (!isTime) text << "\n1," << value;
      text << '\n';
      return text.str();
    };
    problems = Problems();
    read(table(each.good));
    EXPECT_EQ(told(), "") << each.column;
    read(table(each.wrong));
    EXPECT_NE(told().find(each.message), std::string::npos) << each.column << told();
  }
}

TEST_F(MeasurementFileTest, AValueThatCannotBeMeantIsToldAtItsRow) {
  read("time,chip_t\n0,30\n# hot\n1,2000\n2,31000\n3,3000\n");
  EXPECT_NE(told().find("rails.csv:5:1: error: 'chip_t' is 31000"), std::string::npos) << told();
  problems = Problems();
  read("time,chip_t\n0,30\n1,-300\n2,-280\n");
  EXPECT_NE(told().find("rails.csv:3:1: error: 'chip_t' is -300"), std::string::npos) << told();
}

TEST_F(MeasurementFileTest, PercentsAreOnlyMeantUpToAHundred) {
  read("time,cpu\n0,0\n1,100\n");
  EXPECT_NE(told().find("hint: percents are 'cpu:%'"), std::string::npos) << told();
  problems = Problems();
  read("time,cpu\n0,0\n1,101\n");
  EXPECT_EQ(told().find("percents"), std::string::npos) << told();
}

TEST_F(MeasurementFileTest, RowsMayBeAlmostTwentySecondsApart) {
  const std::string message = "the rows are 20 s apart: milliseconds are 'time_ms'";
  read(readAt(evenTimes(20, 19.9)));
  EXPECT_EQ(told(), "");
  read(readAt(evenTimes(19, 20)));
  EXPECT_EQ(told(), "");
  read(readAt(evenTimes(20, 20)));
  EXPECT_NE(told().find("rails.csv:1:1: error: the column 'time' has another unit"),
            std::string::npos)
      << told();
  EXPECT_NE(told().find(message), std::string::npos) << told();
}

TEST_F(MeasurementFileTest, AGapIsMoreThanTenStepsAndMoreThanFiveSeconds) {
  const struct {
    double step;
    double silence;
    bool isGap;
  } cases[] = {{1, 10, false}, {1, 10.5, true}, {0.25, 5, false}, {0.25, 5.25, true}};
  for (const auto& each : cases) {
    std::vector<double> times = evenTimes(20, each.step);
    for (size_t i = 10; i < times.size(); ++i)
      times[i] += each.silence - each.step;
    EXPECT_EQ(read(readAt(times)).gaps.size(), each.isGap ? 1U : 0U)
        << each.step << " " << each.silence;
  }
}

TEST_F(MeasurementFileTest, TenStepsMostlyAlikeAreRegularAndEndWithTheLast) {
  EXPECT_EQ(read(readAt(evenTimes(11, 1))).last, 10);
  EXPECT_GT(read(readAt(evenTimes(10, 1))).last, 1e12);
  // One in ten may be as long as it likes, and the others three times the middle one.
  EXPECT_EQ(read(readAt({0, 1, 2, 3, 4, 5, 6, 7, 8, 11, 12})).last, 12);
  EXPECT_GT(read(readAt({0, 1, 2, 3, 4, 5, 6, 7, 8, 11.5, 12})).last, 1e12);
}

TEST_F(MeasurementFileTest, AZeroIsAFailedReadMoreThanFiveDegreesFromWhatIsBeside) {
  EXPECT_EQ(read("time,chip_t\n0,5\n1,0\n2,5\n").readings.size(), 3U);
  EXPECT_EQ(read("time,chip_t\n0,5.1\n1,0\n2,5\n").readings.size(), 2U);
  EXPECT_EQ(read("time,chip_t\n0,-5.1\n1,0\n2,5\n").readings.size(), 2U);
}

TEST_F(MeasurementFileTest, ZerosUpToTheEndOrAroundEmptyCellsAreLeftOutAsOne) {
  EXPECT_EQ(read("time,chip_t,case_t\n0,30,25\n1,0,25\n61,,25\n62,0,25\n").readings.size(), 5U);
  ASSERT_EQ(remarks.size(), 1U);
  EXPECT_EQ(remarks[0], "rails.csv:3: 'chip_t' is 0 from 0:00:01 to 0:01:02, as after a read that "
                        "failed: left out");
}

TEST_F(MeasurementFileTest, EachFailureIsToldByItself) {
  EXPECT_EQ(read("time,chip_t\n0,30\n1,0\n2,30\n3,0\n4,30\n").readings.size(), 3U);
  EXPECT_EQ(remarks.size(), 2U);
}

TEST_F(MeasurementFileTest, ASensorThatIsAlwaysZeroIsNoFailure) {
  EXPECT_EQ(read("time,chip_t\n0,0\n1,0\n2,0\n").readings.size(), 3U);
}

TEST_F(MeasurementFileTest, ASourceMayBeOff) {
  EXPECT_EQ(read("time,cpu:W\n0,2\n1,0\n2,2\n").changes.size(), 3U);
  EXPECT_TRUE(remarks.empty());
}

TEST_F(MeasurementFileTest, AnEmptyCellChangesNothing) {
  const RecordedFile file = read("time,cpu,panel\n0,1,0\n1,,1\n2,0.5,\n3,,\n");
  ASSERT_EQ(file.changes.size(), 4U);
  EXPECT_EQ(file.changes[2].index, 1U);
  EXPECT_EQ(file.changes[3].time, 2);
  EXPECT_EQ(file.changes[3].value, 0.5);
  EXPECT_TRUE(file.rows.empty());
}

TEST_F(MeasurementFileTest, ATimeWithItsUnitIsWhatItSaysInAColumnOfMillisecondsToo) {
  const RecordedFile file = read("time_ms,chip_t\n500,30\n1.5s,31\n1m,31\n");
  EXPECT_EQ(told(), "");
  ASSERT_EQ(file.rows.size(), 3U);
  EXPECT_EQ(file.rows[0].time, 0.5);
  EXPECT_EQ(file.rows[1].time, 1.5);
  EXPECT_EQ(file.rows[2].time, 60);
}

} // namespace
