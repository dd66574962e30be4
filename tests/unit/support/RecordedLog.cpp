#include "support/RecordedLog.h"

#include <android/log.h>

#include <cstdarg>
#include <cstdio>
#include <mutex>
#include <utility>

#include <gtest/gtest.h>

namespace {

std::mutex lock;
bool recording = false;
bool echoing = false;
std::vector<std::string> recorded;
std::function<std::string()> lookBeside;

} // namespace

RecordedLog::RecordedLog() {
  const std::lock_guard<std::mutex> guard(lock);
  recording = true;
  recorded.clear();
}

RecordedLog::~RecordedLog() {
  const std::lock_guard<std::mutex> guard(lock);
  recording = false;
  echoing = false;
  lookBeside = nullptr;
}

std::vector<std::string> RecordedLog::lines() const {
  const std::lock_guard<std::mutex> guard(lock);
  return recorded;
}

void RecordedLog::clear() {
  const std::lock_guard<std::mutex> guard(lock);
  recorded.clear();
}

void RecordedLog::noteBeside(std::function<std::string()> look) {
  const std::lock_guard<std::mutex> guard(lock);
  lookBeside = std::move(look);
}

void RecordedLog::echoToStandardError() {
  const std::lock_guard<std::mutex> guard(lock);
  echoing = true;
}

// In place of liblog's own.
extern "C" int __android_log_print(int priority, const char* tag, const char* format, ...) {
  EXPECT_EQ(priority, ANDROID_LOG_VERBOSE);
  EXPECT_STREQ(tag, "echo-service");
  va_list arguments;
  va_start(arguments, format);
  char text[4096];
  const int length = std::vsnprintf(text, sizeof text, format, arguments);
  va_end(arguments);
  const std::lock_guard<std::mutex> guard(lock);
  if (recording) recorded.push_back(text + (lookBeside ? lookBeside() : std::string()));
  if (echoing) std::fputs(text, stderr);
  return length;
}
