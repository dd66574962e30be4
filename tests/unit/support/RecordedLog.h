#pragma once

#include <functional>
#include <string>
#include <vector>

// The daemon's log while one of these lives: the test program answers `__android_log_print` itself.
// Outside of its life lines are dropped. One at a time.
class RecordedLog {
public:
  RecordedLog();
  ~RecordedLog();
  RecordedLog(const RecordedLog&) = delete;
  RecordedLog& operator=(const RecordedLog&) = delete;

  // The texts written so far, in order.
  std::vector<std::string> lines() const;
  void clear();

  // From here on each line is followed by what `look` sees at the moment at which it is logged.
  void noteBeside(std::function<std::string()> look);

  // From here on every line also goes to standard error: for a test of a process that ends.
  void echoToStandardError();
};
