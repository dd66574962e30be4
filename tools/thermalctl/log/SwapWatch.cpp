#include "log/SwapWatch.h"

namespace {

constexpr std::string_view kMark = kRetiredMark;

using Kind = LogLine::Kind;

bool hasScenario(Kind kind) {
  return kind == Kind::kSample || kind == Kind::kWoken || kind == Kind::kPutToSleep;
}

} // namespace

bool isRetired(std::string_view scenario) {
  return scenario.substr(0, kMark.size()) == kMark;
}

std::string_view declaredScenario(std::string_view scenario) {
  while (isRetired(scenario))
    scenario.remove_prefix(kMark.size());
  return scenario;
}

// From state to state: the swap begins, a scenario with the mark is heard of, the first change
// ends or whoever wakes has no mark, and the swap is done.
SwapWatch::Event SwapWatch::take(const LogLine& line) {
  if (line.kind == Kind::kStart) {
    *this = SwapWatch();
    return Event::kRestart;
  }
  if (line.kind == Kind::kSwap) {
    state = State::kBegun;
    hasPredecessor = false;
    return Event::kNone;
  }
  if (state == State::kTakenOver && line.kind == Kind::kSwapDone) {
    state = State::kSettled;
    return Event::kDone;
  }
  const bool marked = hasScenario(line.kind) && isRetired(line.scenario);
  if (state == State::kBegun && marked) state = State::kMarked;
  // The line in which the first change ends may be lost.
  const bool isOver = line.kind == Kind::kScenario || line.kind == Kind::kSwapDone;
  const bool wakes = state == State::kMarked && line.kind == Kind::kWoken && !marked;
  if ((state != State::kBegun && state != State::kMarked) || (!isOver && !wakes))
    return Event::kNone;
  state = line.kind == Kind::kSwapDone ? State::kSettled : State::kTakenOver;
  hasPredecessor = true;
  return Event::kNew;
}
