#pragma once

#include <cstdint>
#include <map>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "log/BoardFolder.h"
#include "log/GapFinder.h"
#include "log/LogLine.h"
#include "log/SwapWatch.h"

// What has to be known of a log before it is played: the scenario that it begins in, and which of
// the board's configurations is in force in each of its stretches. The log does not name them; they
// are known by what their items do, and by what they do not do.
//
// Shape:  a stretch ends where a configuration is swapped, where the daemon starts, and at a gap, in
//         which a swap may be.
// Errors: of configurations that fit a stretch equally well the one before stays, and `isTold` is
//         false.
class LogSurvey {
public:
  // What is in force in one.
  //
  // Shape: `configuration` is the board's; null without any.
  struct Stretch {
    const BoardFolder::ConfigurationTracks* configuration = nullptr;
    bool isTold = true;
  };

  // `board` may be null; the stretches then have no configurations.
  explicit LogSurvey(const BoardFolder* board);

  void take(const LogLine& line);
  // Before the message that ends it.
  void gap(const LogGap& gap);

  // That of the first sample, unless the daemon is seen to start; empty if the log tells neither.
  const std::string& firstScenario() const { return scenario; }
  std::vector<Stretch> stretches() const;

private:
  // The items of one configuration.
  struct Known {
    const BoardFolder::ConfigurationTracks* configuration;
    // Indices into `configuration`, by the items' and by their sensors' names.
    std::map<std::string, std::vector<size_t>, std::less<>> byName;
    std::map<std::string, std::vector<size_t>, std::less<>> bySensor;
  };
  // How much speaks against each of the configurations.
  struct Found {
    enum class Beginning { kStart, kSwap, kGap };
    Beginning beginning = Beginning::kStart;
    bool beganAsleep = false; // all of its items, seen to
    std::vector<uint64_t> against;
    uint32_t messages = 0;
  };
  // The latest of a sensor.
  struct Sample {
    std::string scenario;
    int32_t temperature = 0;
  };

  void begin(Found::Beginning beginning, bool asleep);
  void noteSample(const LogLine& line);
  void noteWoken(const LogLine& line);
  void noteDecision(const LogLine& line);
  // `weight` against each configuration that `fits(known)` denies.
  template <typename Fits> void weigh(uint64_t weight, Fits fits);
  bool wouldSleep(const Known& known, std::string_view sensor, const Sample& sample) const;

  std::vector<Known> board;
  const BoardFolder::ConfigurationTracks* initial = nullptr;
  std::string scenario;
  bool hasScenario = false;
  SwapWatch swaps;
  std::vector<Found> found;
  std::map<std::string, Sample, std::less<>> samples;
  std::set<std::string, std::less<>> awake;
  std::string scenarioInForce;
};
