#include "log/LogHeader.h"

#include <gtest/gtest.h>

namespace {

#define TEXT "[TalmorThermal] No scen file"

struct Form {
  const char* line;
  int32_t pid;
};

TEST(LogHeaderTest, FindsTheMessageAndTheProcessInEveryForm) {
  for (const Form& form : {
           Form{TEXT, 0},
           Form{"V/echo-service( 1234): " TEXT, 1234},
           Form{"V/echo-service(root:  1234): " TEXT, 1234},
           Form{"V/echo-service: " TEXT, 0},
           Form{"V/echo-service  : " TEXT, 0},
           Form{"V( 1234) " TEXT "  (echo-service)", 1234},
           Form{"V(system: 1234) " TEXT "  (echo-service)", 1234},
           Form{"V( 1234: 5678) " TEXT, 1234},
           Form{"01-30 14:03:22.123 V/echo-service( 1234): " TEXT, 1234},
           Form{"01-30 14:03:22.123  1234  5678 V echo-service: " TEXT, 1234},
           Form{"01-30 14:03:22.123  root  1234  5678 V echo-service: " TEXT, 1234},
           Form{"2024-01-30 14:03:22.123456 +0100  1234  5678 V echo-service: " TEXT, 1234},
           Form{"1706623402.123  1234  5678 V echo-service: " TEXT, 1234},
           Form{"echo-service V 01-30 14:03:22  1234  5678 " TEXT, 1234},
           Form{"Jan 30 14:03:22 host daemon[9]: echo-service V 01-30 14:03:22  1234  5678 " TEXT,
                1234},
       }) {
    const auto header = parseHeader(form.line);
    ASSERT_TRUE(header) << form.line;
    EXPECT_EQ(header->message, TEXT) << form.line;
    EXPECT_EQ(header->pid, form.pid) << form.line;
  }
}

TEST(LogHeaderTest, TellsHowFinelyATimeIsWritten) {
  EXPECT_TRUE(parseHeader("echo-service V 01-30 14:03:22  1234  5678 " TEXT)->time->wholeSeconds);
  EXPECT_FALSE(parseHeader("01-30 14:03:22.123 V/echo-service( 1): " TEXT)->time->wholeSeconds);
  EXPECT_FALSE(parseHeader("V/echo-service( 1): " TEXT)->time);
}

TEST(LogHeaderTest, LeavesTheLinesOfOthersAlone) {
  for (const char* line : {
           "",
           "--------- beginning of main",
           "01-30 14:03:22.123  1234  5678 V echo-service-helper: " TEXT,
           "01-30 14:03:22.123  1234  5678 V echo-service: something else",
           "01-30 14:03:22.123  1234  5678 W echo-service: " TEXT,
           "01-30 14:03:22.123  1234  5678 I watchdog: saw " TEXT,
           "V( 1234) something else  (echo-service)",
           "I( 1234) " TEXT "  (echo-service)",
           "echo-service V without a time " TEXT,
       })
    EXPECT_FALSE(parseHeader(line)) << line;
}

TEST(LogHeaderTest, KnowsAMessageOfWhichOnlyTheStartIsLeft) {
  for (const char* line : {"V/echo-service( 1234): [Talm", "V/echo-service( 1234): ",
                           "V/echo-service( 1234)", "V/echo-service: ", "V/echo-service"})
    EXPECT_TRUE(parseHeader(line)) << line;
}

TEST(LogHeaderTest, ReadsTheHeaderOfTheLongForm) {
  const auto ours = parseLongHeader("[ 01-30 14:03:22.123  1234: 5678 V/echo-service ]");
  ASSERT_TRUE(ours);
  EXPECT_TRUE(ours->isOurs);
  EXPECT_EQ(ours->pid, 1234);
  EXPECT_TRUE(parseLongHeader("[ 01-30 14:03:22.123 root: 1234: 5678 V/echo-service ]")->isOurs);
  EXPECT_FALSE(parseLongHeader("[ 01-30 14:03:22.123  1234: 5678 V/echo-service2 ]")->isOurs);
  EXPECT_FALSE(parseLongHeader("[ 01-30 14:03:22.123  1234: 5678 I/watchdog ]")->isOurs);
  EXPECT_FALSE(parseLongHeader(TEXT));
}

} // namespace
