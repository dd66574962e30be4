// Plays scenes of the daemon under many schedules and says which of them went wrong.

#include <cinttypes>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <string>
#include <vector>

#include "runtime/Trace.h"
#include "scenes/Stage.h"

namespace {

constexpr char kUsage[] =
    "usage: schedule [--scene NAME]... [--schedules N] [--seed S] [--trace]\n"
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
  uint64_t schedules = 0;
  uint64_t points = 0;
  std::string failure;
  std::string repeat;
};

// How many scheduling points the scene has where nobody is ever interrupted: what the random
// strategies spread their changes over. The same in every process.
uint64_t usualLength(Stage& stage, Tally& tally) {
  schedule::Exhaustive undisturbed(0, false);
  const schedule::Outcome outcome = stage.play(undisturbed);
  if (!outcome.failure.empty()) {
    tally.failure = outcome.failure;
    tally.repeat = "--exhaustive --preemptions 0";
  }
  return outcome.steps;
}

void playAtRandom(const Options& options, Stage& stage, Tally& tally) {
  const uint64_t length = usualLength(stage, tally);
  while (tally.failure.empty() && tally.schedules < options.schedules) {
    const uint64_t seed = options.seed + tally.schedules;
    const auto strategy = schedule::Strategy::fromSeed(seed, length);
    if (options.trace) trace::begin();
    const schedule::Outcome outcome = stage.play(*strategy);
    if (options.trace) trace::print();
    ++tally.schedules;
    tally.points += outcome.steps;
    tally.failure = outcome.failure;
    tally.repeat = "--seed " + std::to_string(seed) + " --trace";
  }
}

void playAll(const Options& options, Stage& stage, Tally& tally) {
  schedule::Exhaustive strategy(options.preemptions, options.wakeForNoReason);
  do {
    const schedule::Outcome outcome = stage.play(strategy);
    ++tally.schedules;
    tally.points += outcome.steps;
    tally.failure = outcome.failure;
  } while (tally.failure.empty() && strategy.advance());
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
  const auto schedules = static_cast<double>(tally.schedules ? tally.schedules : 1);
  std::printf("%-24s %9" PRIu64 " schedules %6.0f points %6.1f us each   %s\n", scene.name.c_str(),
              tally.schedules, static_cast<double>(tally.points) / schedules,
              seconds * 1e6 / schedules, tally.failure.empty() ? "clean" : "BROKEN");
  if (!tally.failure.empty())
    std::printf("  %s\n  again: --scene %s %s\n", tally.failure.c_str(), scene.name.c_str(),
                tally.repeat.c_str());
  std::fflush(stdout);
  return tally.failure.empty();
}

} // namespace

int main(int, char** words) {
  const Options options = read(words);
  bool clean = true;
  for (const Scene* scene : chosen(options))
    clean = play(options, *scene) && clean;
  return clean ? 0 : 1;
}
