#include "device/ReportDevice.h"

#include <time.h>

#include <array>

namespace {

constexpr int32_t kOver = 1;
constexpr int32_t kUnder = 0;
constexpr int32_t kReported = 2;

std::string localTimeStamp() {
  const time_t now = ::time(nullptr);
  struct tm local = {};
  // The conversion alone would stay in the time zone that the process began with.
  ::tzset();
  ::localtime_r(&now, &local);
  std::array<char, 64> text;
  return {text.data(), std::strftime(text.data(), text.size(), "%F %T", &local)};
}

} // namespace

void ReportDevice::withdraw(const Requester& requester) {
  const std::lock_guard<std::mutex> guard(lock);
  clear(requester.name);
}

void ReportDevice::statusApply() {
  const std::lock_guard<std::mutex> guard(lock);
  if (requests.empty()) return;
  const std::string stamp = localTimeStamp();
  for (auto& [requester, value] : requests) {
    if (value != kOver && value != kUnder) continue;
    std::string text = stamp;
    text.append(" : [").append(requester);
    text.append(value == kOver ? "] Over Thresholds, currenct Status(1)\n"
                               : "] Under Thresholds Clear\n");
    // In one insertion, so that the unit-buffered stream hands the line to the file in one write.
    if (node) node << text;
    value = kReported;
  }
}
