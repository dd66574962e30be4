#pragma once

#include <functional>
#include <mutex>
#include <string>
#include <vector>

#include "device/Device.h"

// A kind of device without a node: it keeps every level that it was ever set to.
class JournalDevice : public Device {
public:
  explicit JournalDevice(const std::string& name_ = "device", size_t levels = 10)
      : Device(name_, "/dev/null", "string", std::vector<std::string>(levels, "entry")) {}

  void statusApply() override {
    const std::function<void()> hook = onApply; // which may replace itself
    hook();
    const std::lock_guard<std::mutex> guard(lock);
    const std::optional<int32_t> level = mergedLevel();
    if (!level || *level == currentLevel) return;
    journal.push_back(*level);
    currentLevel = *level;
  }

  std::vector<int32_t> levelsSet() {
    const std::lock_guard<std::mutex> guard(lock);
    return journal;
  }

  // Called before each application.
  std::function<void()> onApply = [] {};

private:
  std::vector<int32_t> journal;
};
