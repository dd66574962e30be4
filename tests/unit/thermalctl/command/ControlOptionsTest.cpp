#include "command/ControlOptions.h"

#include <chrono>
#include <string>
#include <system_error>

#include <gtest/gtest.h>

namespace {

// How the command ends with that answer, and what it says.
std::string explained(const Answer& answer) {
  testing::internal::CaptureStderr();
  const ExitStatus status = explainFailure(answer);
  return std::to_string(status) + " " + testing::internal::GetCapturedStderr();
}

TEST(ControlOptionsTest, AFractionOfASecondIsWaitedFor) {
  ControlOptions options;
  EXPECT_EQ(options.timeoutTime(), std::chrono::seconds(10));
  options.timeout = 0.25;
  EXPECT_EQ(options.timeoutTime(), std::chrono::milliseconds(250));
  options.timeout = 86400;
  EXPECT_EQ(options.timeoutTime(), std::chrono::hours(24));
}

TEST(ControlOptionsTest, AnotherWritersWordIsAnAnswer) {
  EXPECT_EQ(explained({Outcome::kOvertaken, "game"}),
            "1 thermalctl: another writer has asked for game meanwhile\n");
  EXPECT_EQ(explained({Outcome::kSwallowed}),
            "1 thermalctl: another writer has asked in the moment of the daemon's answer, which "
            "lies over its word: it has to ask again\n");
}

TEST(ControlOptionsTest, AFileThatCannotBeWrittenIsNamedWithTheReason) {
  const std::error_code reason = std::make_error_code(std::errc::permission_denied);
  EXPECT_EQ(explained({Outcome::kNotWritten, "/data/request", reason}),
            "2 thermalctl: cannot write /data/request: " + reason.message() + "\n");
}

} // namespace
