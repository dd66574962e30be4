// Plays scenes of the daemon under many schedules and says which of them went wrong.

#include <cinttypes>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <map>
#include <string>
#include <vector>

#include "runtime/Trace.h"
#include "scenes/Stage.h"

namespace {

constexpr char kUsage[] =
    "usage: schedule [--scene NAME]... [--schedules N] [--seed S] [--trace] [--all]\n"
    "       schedule [--scene NAME]... --exhaustive --preemptions N [--wake]\n"
    "       schedule --list\n";

struct Options {
  std::vector<std::string> scenes;
  uint64_t schedules = 1;
  uint64_t seed = 0;
  bool trace = false;
  bool exhaustive = false;
  int preemptions = 1;
  bool wakeForNoReason = false;
  bool goesOn = false; // after a failure
};

[[noreturn]] void refuse(const std::string& why) {
  std::fprintf(stderr, "%s\n%s", why.c_str(), kUsage);
  std::exit(2);
}

uint64_t numberOf(const char* text) {
  char* end = nullptr;
  const uint64_t number = text ? std::strtoull(text, &end, 10) : 0;
  if (!text || end == text || *end) refuse("a number is missing");
  return number;
}

Options read(char** word) {
  Options options;
  for (++word; *word; ++word) {
    const std::string name = *word;
    if (name == "--list") {
      for (const Scene& scene : allScenes())
        std::puts(scene.name.c_str());
      std::exit(0);
    } else if (name == "--scene" && word[1]) {
      options.scenes.emplace_back(*++word);
    } else if (name == "--schedules") {
      options.schedules = numberOf(*++word);
    } else if (name == "--seed") {
      options.seed = numberOf(*++word);
    } else if (name == "--preemptions") {
      options.preemptions = static_cast<int>(numberOf(*++word));
    } else if (name == "--trace") {
      options.trace = true;
    } else if (name == "--exhaustive") {
      options.exhaustive = true;
    } else if (name == "--all") {
      options.goesOn = true;
    } else if (name == "--wake") {
      options.wakeForNoReason = true;
    } else {
      refuse("not understood: " + name);
    }
  }
  return options;
}

std::vector<const Scene*> chosen(const Options& options) {
  std::vector<const Scene*> scenes;
  for (const Scene& scene : allScenes()) {
    if (options.scenes.empty()) scenes.push_back(&scene);
  }
  for (const std::string& name : options.scenes) {
    const size_t before = scenes.size();
    for (const Scene& scene : allScenes()) {
      if (scene.name == name) scenes.push_back(&scene);
    }
    if (scenes.size() == before) refuse("no such scene: " + name);
  }
  return scenes;
}

double secondsSince(const timespec& begin) {
  timespec now;
  clock_gettime(CLOCK_MONOTONIC, &now);
  return static_cast<double>(now.tv_sec - begin.tv_sec) +
         static_cast<double>(now.tv_nsec - begin.tv_nsec) / 1e9;
}

// How a scene came out.
struct Tally {
  struct Failure {
    uint64_t times = 0;
    std::string again; // the options that repeat the first one
  };

  void add(const schedule::Outcome& outcome, const std::string& again) {
    ++schedules;
    points += outcome.steps;
    if (outcome.failure.empty()) return;
    Failure& failure = failures[outcome.failure];
    if (failure.times++ == 0) failure.again = again;
  }

  uint64_t schedules = 0;
  uint64_t points = 0;
  std::map<std::string, Failure> failures;
};

bool isOver(const Options& options, const Tally& tally) {
  return !options.goesOn && !tally.failures.empty();
}

void playAtRandom(const Options& options, Stage& stage, Tally& tally) {
  // How many scheduling points the scene has where nobody is ever interrupted: what the random
  // strategies spread their changes over. The same in every process.
  schedule::Exhaustive undisturbed(0, false);
  const schedule::Outcome usual = stage.play(undisturbed);
  if (!usual.failure.empty()) tally.add(usual, "--exhaustive --preemptions 0");

  for (uint64_t i = 0; i < options.schedules && !isOver(options, tally); ++i) {
    const uint64_t seed = options.seed + i;
    const auto strategy = schedule::Strategy::fromSeed(seed, usual.steps);
    if (options.trace) trace::begin();
    const schedule::Outcome outcome = stage.play(*strategy);
    if (options.trace) trace::print();
    tally.add(outcome, "--seed " + std::to_string(seed) + " --trace");
  }
}

void playAll(const Options& options, Stage& stage, Tally& tally) {
  schedule::Exhaustive strategy(options.preemptions, options.wakeForNoReason);
  do {
    tally.add(stage.play(strategy), "--exhaustive");
  } while (!isOver(options, tally) && strategy.advance());
}

bool play(const Options& options, const Scene& scene) {
  Stage stage(scene);
  Tally tally;
  timespec begin;
  clock_gettime(CLOCK_MONOTONIC, &begin);
  if (options.exhaustive)
    playAll(options, stage, tally);
  else
    playAtRandom(options, stage, tally);
  const double seconds = secondsSince(begin);
  const auto schedules = static_cast<double>(tally.schedules);
  std::printf("%-24s %9" PRIu64 " schedules %6.0f points %6.1f us each   %s\n", scene.name.c_str(),
              tally.schedules, static_cast<double>(tally.points) / schedules,
              seconds * 1e6 / schedules, tally.failures.empty() ? "clean" : "BROKEN");
  for (const auto& [what, failure] : tally.failures)
    std::printf("  %s\n  %" PRIu64 " times, again: --scene %s %s\n", what.c_str(), failure.times,
                scene.name.c_str(), failure.again.c_str());
  std::fflush(stdout);
  return tally.failures.empty();
}

} // namespace

int main(int, char** words) {
  const Options options = read(words);
  bool clean = true;
  for (const Scene* scene : chosen(options))
    clean = play(options, *scene) && clean;
  return clean ? 0 : 1;
}
