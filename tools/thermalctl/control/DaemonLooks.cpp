#include "control/DaemonLooks.h"

namespace {

// Between its two looks the daemon does nothing; with an answer in between, it writes a file. On a
// busy machine either may be held up.
constexpr std::chrono::milliseconds kAtOnce{2};
constexpr std::chrono::milliseconds kHeldUp = kControlPeriod / 10;
constexpr std::chrono::milliseconds kWithAnswer = kControlPeriod / 4;

} // namespace

DaemonLooks::DaemonLooks(const ControlDirectory& directory)
    : scenarioFile(directory.scenarioFile), requestFile(directory.requestFile) {}

std::optional<DaemonLooks::Cycle> DaemonLooks::after(const FileEvent& event, Waiting::Time now) {
  if (event.concerns(scenarioFile)) noteScenario(event.kind, now);
  if (!event.concerns(requestFile)) return std::nullopt;
  const auto cycle = ending(event.kind, now);
  isRead = false;
  writes = 0;
  return cycle;
}

bool DaemonLooks::mayBeAnswering(Waiting::Time now) const {
  return isRead && now - readAt <= kWithAnswer;
}

void DaemonLooks::noteScenario(FileEvent::Kind kind, Waiting::Time now) {
  if (kind != FileEvent::kRead) {
    ++writes;
    return;
  }
  isRead = true;
  readAt = now;
  writes = 0;
}

std::optional<DaemonLooks::Cycle> DaemonLooks::ending(FileEvent::Kind kind, Waiting::Time now) {
  // A swap ends with a word in the request file.
  if (writes > 0 && mayBeAnswering(now)) return writes == 1 ? kAnswer : kLateAnswer;
  if (kind != FileEvent::kRead) return std::nullopt;
  if (!isRead || now - readAt > kHeldUp) return kSwitch;
  return now - readAt <= kAtOnce ? kRead : kReadOrSwitch;
}
