#include "report/Writer.h"

#include <cstdint>
#include <limits>
#include <sstream>
#include <string>

#include <gtest/gtest.h>

namespace {

std::string decimalOf(int64_t thousandths) {
  std::ostringstream out;
  Writer(out).decimal(thousandths);
  return out.str();
}

TEST(WriterTest, WritesThousandthsWithoutZerosAtTheEnd) {
  EXPECT_EQ(decimalOf(0), "0");
  EXPECT_EQ(decimalOf(61000), "61");
  EXPECT_EQ(decimalOf(61250), "61.25");
  EXPECT_EQ(decimalOf(-500), "-0.5");
  EXPECT_EQ(decimalOf(5), "0.005");
  EXPECT_EQ(decimalOf(-1040), "-1.04");
  EXPECT_EQ(decimalOf(std::numeric_limits<int32_t>::min()), "-2147483.648");
  EXPECT_EQ(decimalOf(std::numeric_limits<int64_t>::min()), "-9223372036854775.808");
}

TEST(WriterTest, KeepsTheTextOfANumberUntilAnotherComes) {
  NumberText text;
  EXPECT_EQ(text.of(0), "0");
  EXPECT_EQ(text.of(0), "0");
  EXPECT_EQ(text.of(1'250'000), "1250000");
  EXPECT_EQ(text.of(std::numeric_limits<int64_t>::min()), "-9223372036854775808");
  EXPECT_EQ(text.of(0), "0");
}

TEST(WriterTest, LosesNothingAcrossItsBlocks) {
  std::string wanted;
  std::ostringstream out;
  {
    Writer writer(out);
    for (int64_t i = 0; i < 30'000; ++i) {
      writer << "number " << i << ", ";
      wanted += "number " + std::to_string(i) + ", ";
    }
    const std::string longer(200'000, 'x');
    writer << longer << int64_t{-7};
    wanted += longer + "-7";
  }
  EXPECT_EQ(out.str(), wanted);
}

TEST(WriterTest, PutsTextAndNumbersTogether) {
  std::ostringstream out;
  Writer(out) << "time " << int64_t{-5} << ", level " << int64_t{0};
  EXPECT_EQ(out.str(), "time -5, level 0");
}

TEST(WriterTest, WritesTheLongestNumbers) {
  std::ostringstream out;
  Writer(out) << std::numeric_limits<int64_t>::min() << " " << std::numeric_limits<int64_t>::max();
  EXPECT_EQ(out.str(), "-9223372036854775808 9223372036854775807");
}

TEST(WriterTest, TheStreamSeesNothingBeforeItIsFlushed) {
  std::ostringstream out;
  Writer writer(out);
  writer << "text";
  EXPECT_EQ(out.str(), "");
  writer.flush();
  EXPECT_EQ(out.str(), "text");
}

TEST(WriterTest, ItIsFlushedOnce) {
  std::ostringstream out;
  {
    Writer writer(out);
    writer << "text";
    writer.flush();
  }
  EXPECT_EQ(out.str(), "text");
}

TEST(WriterTest, AFullBlockGoesToTheStreamByItself) {
  std::ostringstream out;
  Writer writer(out);
  writer << std::string((1 << 16) - 1, 'a');
  EXPECT_EQ(out.str().size(), 0U);
  writer << "b"
         << "c";
  EXPECT_EQ(out.str().size(), size_t{1} << 16);
}

TEST(JsonStringTest, QuotesWhatMustBe) {
  EXPECT_EQ(jsonString("a \"b\"\\\n"), R"("a \"b\"\\\n")");
}

TEST(JsonStringTest, KeepsOtherLettersAndReplacesWhatIsNoText) {
  EXPECT_EQ(jsonString("\xC3\xA4"), "\"\xC3\xA4\"");
  EXPECT_EQ(jsonString("a\xFF"), "\"a\xEF\xBF\xBD\"");
}

} // namespace
