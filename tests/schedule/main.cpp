// Plays scenes of the daemon under many schedules and says which of them went wrong.

#include <algorithm>
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
    "usage: schedule [--scene NAME]... [--schedules N] [--seed S] [--first | --all] [--trace]\n"
    "       schedule [--scene NAME]... --exhaustive [--preemptions N] [--wake] [--all]\n"
    "       schedule --list\n"
    "\n"
    "  --scene NAME     only this one (default: all)\n"
    "  --schedules N    so many in all, shared by the scenes (default: one)\n"
    "  --seed S         of the first one; those after it take the numbers that follow\n"
    "  --trace          prints who did what\n"
    "  --exhaustive     all schedules with at most so many preemptions (default: 1), in each "
    "scene\n"
    "  --wake           counts waits that end for no reason among them\n"
    "  --first          ends with the first failure of any scene\n"
    "  --all            goes on with a scene that failed, and counts each kind of failure\n";

struct Options {
  std::vector<std::string> scenes;
  uint64_t schedules = 0; // one each
  uint64_t seed = 0;
  bool trace = false;
  bool exhaustive = false;
  int preemptions = 1;
  bool wakeForNoReason = false;
  enum { kSceneEnds, kAllEnd, kGoesOn } atFailure = kSceneEnds;
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
      options.atFailure = Options::kGoesOn;
    } else if (name == "--first") {
      options.atFailure = Options::kAllEnd;
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

// Of the processor: others may be at work on the machine.
double secondsUsed() {
  timespec used;
  clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &used);
  return static_cast<double>(used.tv_sec) + static_cast<double>(used.tv_nsec) / 1e9;
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

  const Scene* scene;
  uint64_t schedules = 0;
  uint64_t points = 0;
  double seconds = 0;
  std::map<std::string, Failure> failures = {};
};

bool isOver(const Options& options, const Tally& tally) {
  return options.atFailure != Options::kGoesOn && !tally.failures.empty();
}

// The scene's next schedules, up to so many in all.
void playAtRandom(const Options& options, Stage& stage, Tally& tally, uint64_t upTo) {
  // How long the scene is where nobody is ever interrupted is what the random strategies spread
  // their changes over. The same in every process.
  schedule::Exhaustive undisturbed(0, false);
  const schedule::Outcome usual = stage.play(undisturbed);
  if (!usual.failure.empty()) tally.add(usual, "--exhaustive --preemptions 0");

  while (tally.schedules < upTo && !isOver(options, tally)) {
    const uint64_t seed = options.seed + tally.schedules;
    const auto strategy = schedule::Strategy::fromSeed(seed, undisturbed.contendedPoints());
    if (options.trace) trace::begin();
    const schedule::Outcome outcome = stage.play(*strategy);
    if (options.trace) trace::print();
    tally.add(outcome, "--seed " + std::to_string(seed) + " --trace");
  }
}

void playAll(const Options& options, Stage& stage, Tally& tally) {
  schedule::Exhaustive strategy(options.preemptions, options.wakeForNoReason);
  bool more = true;
  while (more && !isOver(options, tally)) {
    tally.add(stage.play(strategy), "--exhaustive");
    more = strategy.advance();
  }
}

void play(const Options& options, Tally& tally, uint64_t upTo) {
  const double before = secondsUsed();
  Stage stage(*tally.scene);
  if (options.exhaustive)
    playAll(options, stage, tally);
  else
    playAtRandom(options, stage, tally, upTo);
  tally.seconds += secondsUsed() - before;
}

// The scenes take turns, so that a failure of any is soon found.
void playInTurns(const Options& options, std::vector<Tally>& tallies) {
  constexpr uint64_t kTurn = 500;
  const uint64_t each = std::max<uint64_t>(1, options.schedules / tallies.size());
  for (uint64_t upTo = std::min(each, kTurn);; upTo = std::min(each, upTo + kTurn)) {
    for (Tally& tally : tallies) {
      if (isOver(options, tally)) continue;
      play(options, tally, upTo);
      if (options.atFailure == Options::kAllEnd && !tally.failures.empty()) return;
    }
    if (upTo == each || options.exhaustive) return;
  }
}

void print(const Tally& tally) {
  const auto schedules = static_cast<double>(std::max<uint64_t>(1, tally.schedules));
  std::printf("%-26s %9" PRIu64 " schedules %6.0f points %6.1f us each   %s\n",
              tally.scene->name.c_str(), tally.schedules,
              static_cast<double>(tally.points) / schedules, tally.seconds * 1e6 / schedules,
              tally.failures.empty() ? "clean" : "BROKEN");
  for (const auto& [what, failure] : tally.failures)
    std::printf("  %s\n  %" PRIu64 " times, again: --scene %s %s\n", what.c_str(), failure.times,
                tally.scene->name.c_str(), failure.again.c_str());
}

} // namespace

int main(int, char** words) {
  const Options options = read(words);
  std::vector<Tally> tallies;
  for (const Scene* scene : chosen(options))
    tallies.push_back({scene});
  playInTurns(options, tallies);
  bool clean = true;
  for (const Tally& tally : tallies) {
    print(tally);
    clean = clean && tally.failures.empty();
  }
  return clean ? 0 : 1;
}
