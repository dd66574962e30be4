#include "margin/Search.h"

#include <algorithm>
#include <set>
#include <string>
#include <utility>

#include "margin/Evolution.h"
#include "margin/Population.h"
#include "margin/Shrinking.h"
#include "study/Jobs.h"
#include "study/StudyProgress.h"

namespace {

using Coordinates = Evolution::Point;

// What is looked at all over the space before the best of it is followed.
constexpr double kAllOver = 0.3;
constexpr size_t kMostAllOver = 3000;
constexpr double kFirstStep = 0.25;
constexpr double kFineStep = 0.05;
// No simulation takes as many draws, so that those of another part are others.
constexpr uint64_t kDrawsEach = 64;

// Numbers that depend on the seed, on the first simulation and on how many were drawn before.
class Draws {
public:
  Draws(uint64_t seed_, uint64_t simulation) : seed(seed_), drawn((simulation - 1) * kDrawsEach) {}

  std::vector<double> normal(size_t count) {
    return standardNumbers(seed, ++drawn, Stream::kSearch, count);
  }
  // From 0 to below 1.
  std::vector<double> even(size_t count) {
    std::vector<double> numbers;
    for (const uint32_t word : randomWords(seed, ++drawn, Stream::kSearch, count))
      numbers.push_back(word * 0x1p-32);
    return numbers;
  }

private:
  const uint64_t seed;
  uint64_t drawn;
};

// All words of its requests and faults: attempts that have the same are alike but for numbers.
std::string choicesOf(const Attempt& attempt) {
  std::string all;
  for (const Attempt::Step& step : attempt.steps)
    all += step.scenario + '/' + step.configuration + '/' +
           (step.fault ? std::to_string(step.fault->probe) + step.fault->word : "") + ';';
  return all;
}

class Searching {
public:
  Searching(const SearchSpace& space_, const SearchTask& task, size_t threads_,
            const std::function<bool()>& goesOn_)
      : space(space_), asked(space.dimensions() == 0 ? 1 : task.simulations.size()),
        first(task.simulations.first), threads(threads_), goesOn(goesOn_), draws(task.seed, first),
        progress("simulation", asked, space.duration()) {
    result.complete = true;
    result.worst = task.from;
    for (const SearchResult::Worst& each : task.from)
      known.push_back({each.point, each.outcome.scores, choicesOf(space.at(each.point))});
    result.worst.resize(space.budgets().size());
    started.resize(space.budgets().size());
  }

  SearchResult run() {
    const auto share = static_cast<size_t>(kAllOver * static_cast<double>(asked));
    const size_t wide = std::clamp<size_t>(share, 1, kMostAllOver);
    std::vector<Coordinates> points;
    while (points.size() < wide)
      points.push_back(anywhere(points.size()));
    const std::vector<AttemptOutcome> outcomes = tryAll(points);
    for (size_t i = 0; i < points.size() && result.complete; ++i)
      known.push_back({points[i], outcomes[i].scores, choicesOf(space.at(points[i]))});
    // Each budget in turn: the nearest to being broken would hide all others.
    for (size_t turn = 0; hasMore(); ++turn)
      follow(turn % result.worst.size());
    progress.clear();
    return std::move(result);
  }

private:
  // Of those all over the space, and of those that were found before.
  struct Known {
    Coordinates point;
    std::vector<double> scores; // none of what was not run
    std::string choices;
  };

  size_t left() const { return asked - result.simulations; }
  bool hasMore() const { return result.complete && left() > 0; }

  // Every second one lies at the ends of its numbers, with more or less of the loads full.
  Coordinates anywhere(size_t index) {
    const size_t size = space.dimensions();
    Coordinates point = draws.even(size + 1);
    const double share = point.back();
    point.pop_back();
    if (index % 2 == 1) return point;
    for (size_t i = 0; i < size; ++i) {
      if (space.choicesOf()[i] > 0) continue;
      point[i] = point[i] < (space.areLoads()[i] ? share : 0.5) ? 1 : 0;
    }
    return point;
  }

  std::vector<AttemptOutcome> tryAll(const std::vector<Coordinates>& points) {
    std::vector<Attempt> attempts;
    attempts.reserve(points.size());
    for (const Coordinates& point : points)
      attempts.push_back(space.at(point));
    std::vector<AttemptOutcome> outcomes(points.size());
    const auto work = [&](size_t i) {
      if (!goesOn()) return;
      outcomes[i] = space.outcomeOf(attempts[i]);
      progress.advance(space.duration());
      progress.finishOne();
    };
    const auto after = [&](size_t i) {
      result.complete = result.complete && !outcomes[i].scores.empty();
      // What comes behind one that was not run was run by chance.
      if (result.complete) take(points[i], outcomes[i]);
    };
    runJobs(points.size(), threads, work, after);
    return outcomes;
  }

  void take(const Coordinates& point, const AttemptOutcome& outcome) {
    const size_t number = first + result.simulations++;
    result.stoodStill += outcome.stoodStill ? 1 : 0;
    result.unjudged += outcome.unjudged ? 1 : 0;
    for (size_t i = 0; i < result.worst.size(); ++i) {
      SearchResult::Worst& worst = result.worst[i];
      if (outcome.broken[i] && !worst.broken) worst.broken = number;
      if (!worst.isLessThan(outcome, i)) continue;
      worst.point = point;
      worst.outcome = outcome;
      worst.found = number;
    }
  }

  // From the best that is unlike those that were followed before, or from anywhere.
  Known startFor(size_t budget) {
    const Known* best = nullptr;
    for (const Known& each : known) {
      if (started[budget].count(each.choices) > 0) continue;
      if (!best || each.scores[budget] > best->scores[budget]) best = &each;
    }
    if (!best) return {anywhere(1), {}, ""};
    started[budget].insert(best->choices);
    return *best;
  }

  // What lies in a narrow band is passed by at first.
  void follow(size_t budget) {
    Known best = startFor(budget);
    for (const double step : {kFirstStep, kFineStep})
      if (hasMore()) best = climb(best, step, budget);
  }

  Known climb(Known best, double step, size_t budget) {
    Evolution evolution(best.point, step);
    while (hasMore() && !evolution.isStalled()) {
      std::vector<Coordinates> points =
          evolution.ask(draws.normal(evolution.size() * space.dimensions()));
      vary(points);
      points.resize(std::min(points.size(), left()));
      const std::vector<AttemptOutcome> outcomes = tryAll(points);
      if (!hasMore()) break;
      std::vector<double> values;
      values.reserve(outcomes.size());
      for (size_t i = 0; i < outcomes.size(); ++i) {
        values.push_back(-outcomes[i].scores[budget]);
        if (best.scores.empty() || outcomes[i].scores[budget] > best.scores[budget])
          best = {points[i], outcomes[i].scores, ""};
      }
      evolution.tell(points, values);
    }
    return best;
  }

  // Every third one makes another choice somewhere: small steps hardly ever do.
  void vary(std::vector<Coordinates>& points) {
    std::vector<size_t> chosen;
    for (size_t i = 0; i < space.dimensions(); ++i)
      if (space.choicesOf()[i] > 0) chosen.push_back(i);
    if (chosen.empty()) return;
    for (size_t i = 0; i < points.size(); i += 3) {
      const std::vector<double> numbers = draws.even(2);
      const auto which = static_cast<size_t>(numbers[0] * static_cast<double>(chosen.size()));
      points[i][chosen[which]] = numbers[1];
    }
  }

  const SearchSpace& space;
  const size_t asked;
  const size_t first;
  const size_t threads;
  const std::function<bool()>& goesOn;
  Draws draws;
  StudyProgress progress;
  SearchResult result;
  std::vector<Known> known;
  std::vector<std::set<std::string>> started; // choices, by budget
};

} // namespace

bool SearchResult::Worst::isLessThan(const AttemptOutcome& other, size_t budget) const {
  if (found == 0 || outcome.broken[budget] != other.broken[budget])
    return found == 0 || other.broken[budget];
  return outcome.scores[budget] < other.scores[budget];
}

SearchResult searchWorst(const SearchSpace& space, const SearchTask& task, size_t threads,
                         const std::function<bool()>& goesOn) {
  SearchResult result = Searching(space, task, threads, goesOn).run();
  for (size_t i = 0; i < result.worst.size() && result.complete && !result.smallest; ++i) {
    if (!result.worst[i].broken) continue;
    result.smallest = shrunk(space, i, result.worst[i], goesOn);
    result.complete = goesOn();
  }
  return result;
}
