#include "margin/Shrinking.h"

#include <algorithm>
#include <cmath>
#include <string>
#include <utility>

#include <fmt/format.h>

#include "text/Numbers.h"

namespace {

// Beyond them it is left as it is.
constexpr size_t kMostSimulations = 1000;
constexpr int64_t kSecond = 1000;

double roundTo(double value, int digits) {
  return parseNumber(fmt::format("{:.{}g}", value, digits)).value_or(value);
}

int64_t roundUp(int64_t time, int64_t to) {
  return (time + to - 1) / to * to;
}

class Shrinker {
public:
  Shrinker(const SearchSpace& space_, size_t budget, const SearchResult::Worst& worst,
           const std::function<bool()>& goesOn_)
      : space(space_), goesOn(goesOn_), best{budget, space.at(worst.point), worst.outcome, 0} {}

  // What one way has made smaller another one may make smaller still.
  SearchResult::Smallest run() {
    for (bool again = true; again;) {
      const Attempt before = best.attempt;
      dropUnit();
      dropSteps();
      dropWords();
      evenOut();
      shorten();
      makeRound();
      again = !(before == best.attempt);
    }
    return std::move(best);
  }

private:
  template <typename Edit> bool take(Edit edit) {
    Attempt edited = best.attempt;
    edit(edited);
    if (edited == best.attempt || !space.holds(edited) || best.simulations >= kMostSimulations ||
        !goesOn())
      return false;
    ++best.simulations;
    AttemptOutcome outcome = space.outcomeOf(edited);
    if (!outcome.broken[best.budget]) return false;
    best.attempt = std::move(edited);
    best.outcome = std::move(outcome);
    return true;
  }

  void dropUnit() {
    const size_t size = best.attempt.unit.size();
    if (take([&](Attempt& of) { of.unit.assign(size, std::nullopt); })) return;
    for (size_t i = 0; i < size; ++i)
      take([&](Attempt& of) { of.unit[i].reset(); });
  }

  // The one before it, or the next one, takes its time.
  void dropSteps() {
    for (size_t i = best.attempt.steps.size(); i-- > 0 && best.attempt.steps.size() > 1;) {
      take([&](Attempt& of) {
        of.steps.erase(of.steps.begin() + static_cast<std::ptrdiff_t>(i));
        of.steps.front().time = 0;
      });
    }
  }

  void dropWords() {
    for (size_t i = 0; i < best.attempt.steps.size(); ++i) {
      take([&](Attempt& of) { of.steps[i].fault.reset(); });
      take([&](Attempt& of) { of.steps[i].configuration.clear(); });
      take([&](Attempt& of) { of.steps[i].scenario.clear(); });
    }
  }

  // A step that changes less is shorter to write; a source that is off is not the cause.
  void evenOut() {
    for (size_t i = 0; i < best.attempt.steps.size(); ++i) {
      const size_t sources = best.attempt.steps[i].loads.size();
      for (size_t source = 0; source < sources; ++source) {
        const double off = space.within().loads[source].first;
        const bool isOff = take([&](Attempt& of) { of.steps[i].loads[source] = off; });
        if (i == 0 || isOff || best.attempt.steps[i].loads[source] == off) continue;
        take([&](Attempt& of) { of.steps[i].loads[source] = of.steps[i - 1].loads[source]; });
      }
      if (i > 0) take([&](Attempt& of) { of.steps[i].ambient = of.steps[i - 1].ambient; });
    }
  }

  // A rate or a share of a shorter run is another one.
  void shorten() {
    const Budget::Of of = space.budgets()[best.budget].of;
    if (of != Budget::Of::kPeak && of != Budget::Of::kTimeAbove) return;
    for (size_t i = 1; i < best.attempt.steps.size();)
      if (!take([&](Attempt& edited) { moveEarlier(edited, i); })) ++i;
    int64_t least = best.attempt.steps.back().time;
    while (best.attempt.duration - least > kSecond) {
      const int64_t middle = least + roundUp((best.attempt.duration - least) / 2, kSecond);
      if (middle >= best.attempt.duration) break;
      if (!take([&](Attempt& edited) { edited.duration = middle; })) least = middle;
    }
  }

  // The step before it lasts half as long, and all behind it come earlier.
  static void moveEarlier(Attempt& attempt, size_t step) {
    const int64_t lasts = attempt.steps[step].time - attempt.steps[step - 1].time;
    const int64_t earlier = std::max<int64_t>(0, lasts - roundUp(lasts / 2, kSecond));
    for (size_t i = step; i < attempt.steps.size(); ++i)
      attempt.steps[i].time -= earlier;
    attempt.duration -= earlier;
  }

  void makeRound() {
    for (size_t i = 0; i < best.attempt.steps.size(); ++i) {
      for (const int64_t to : {60 * kSecond, 10 * kSecond, kSecond})
        if (take([&](Attempt& of) { of.steps[i].time = roundUp(of.steps[i].time, to); })) break;
      for (size_t source = 0; source < best.attempt.steps[i].loads.size(); ++source)
        makeRound([=](Attempt& of) -> double& { return of.steps[i].loads[source]; });
      if (best.attempt.steps[i].ambient)
        makeRound([=](Attempt& of) -> double& { return *of.steps[i].ambient; });
    }
    for (size_t i = 0; i < best.attempt.unit.size(); ++i)
      if (best.attempt.unit[i]) makeRound([=](Attempt& of) -> double& { return *of.unit[i]; });
  }

  template <typename Number> void makeRound(Number number) {
    for (const int digits : {1, 2, 3})
      if (take([&](Attempt& of) { number(of) = roundTo(number(of), digits); })) return;
  }

  const SearchSpace& space;
  const std::function<bool()>& goesOn;
  SearchResult::Smallest best;
};

} // namespace

SearchResult::Smallest shrunk(const SearchSpace& space, size_t budget,
                              const SearchResult::Worst& worst,
                              const std::function<bool()>& goesOn) {
  return Shrinker(space, budget, worst, goesOn).run();
}
