#include "trace/CsvFormat.h"

#include <gtest/gtest.h>

namespace {

csv::Fields line(const std::string& name, const std::string& detail = "") {
  return csv::lineOf("day", csv::kLevel, name, detail);
}

// The line as a trace has it, at 250 ms with the value 3.
std::string written(const csv::Fields& fields) {
  const csv::Frame frame(fields);
  return frame.start + "250" + frame.middle + "3" + frame.end;
}

std::string withoutLineFeed(const std::string& text) {
  return text.substr(0, text.size() - 1);
}

TEST(CsvFormatTest, ALineHasEachFieldInItsColumn) {
  EXPECT_EQ(csv::header(), "run,time_ms,event,name,value,detail\n");
  EXPECT_EQ(written(line("gpu", "850")), "day,250,level,gpu,3,850\n");
  EXPECT_EQ(written(line("gpu")), "day,250,level,gpu,3,\n");
}

TEST(CsvFormatTest, QuotesAFieldOnlyWhereASignOfTheFormatIsInIt) {
  EXPECT_EQ(written(line("a b;c")), "day,250,level,a b;c,3,\n");
  EXPECT_EQ(written(line("a,b")), "day,250,level,\"a,b\",3,\n");
  EXPECT_EQ(written(line("a\"b")), "day,250,level,\"a\"\"b\",3,\n");
  EXPECT_EQ(written(line("a\nb")), "day,250,level,\"a\nb\",3,\n");
  EXPECT_EQ(written(line("a\rb")), "day,250,level,\"a\rb\",3,\n");
}

TEST(CsvFormatTest, WhateverIsWrittenIsReadBack) {
  for (const char* name : {"gpu", "", "a,b", "\"", "\"\"", "a\"b\",", ",", "\r\n"}) {
    csv::Fields fields;
    ASSERT_TRUE(csv::takeFields(withoutLineFeed(written(line(name, name))), fields)) << name;
    EXPECT_EQ(fields, (csv::Fields{"day", "250", "level", name, "3", name})) << name;
  }
}

TEST(CsvFormatTest, ALineWithAnotherNumberOfFieldsIsNone) {
  csv::Fields fields;
  EXPECT_FALSE(csv::takeFields("day,250,level,gpu,3", fields));
  EXPECT_TRUE(csv::takeFields("day,250,level,gpu,3,", fields));
  EXPECT_FALSE(csv::takeFields("day,250,level,gpu,3,,", fields));
  EXPECT_FALSE(csv::takeFields("", fields));
}

TEST(CsvFormatTest, TakesOneFieldAndItsComma) {
  std::string_view left = "\"a,b\",c";
  std::string field = "of the line before";
  EXPECT_TRUE(csv::takeField(left, field));
  EXPECT_EQ(field, "a,b");
  EXPECT_EQ(left, "c");
  EXPECT_FALSE(csv::takeField(left, field)) << "nothing follows";
  EXPECT_EQ(field, "c");
  EXPECT_EQ(left, "");
}

TEST(CsvFormatTest, ANodeOfThePlantIsToldFromASensor) {
  EXPECT_EQ(csv::lineOf("day", SensorTrack{"case", SensorTrack::Kind::kPlantNode, {}, {}}),
            (csv::Fields{"day", "", "plant", "case", "", ""}));
  for (const auto kind : {SensorTrack::Kind::kReal, SensorTrack::Kind::kVirtual})
    EXPECT_EQ(csv::lineOf("day", SensorTrack{"skin", kind, {}, {}}),
              (csv::Fields{"day", "", "temperature", "skin", "", ""}));
}

} // namespace
