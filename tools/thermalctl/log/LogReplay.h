#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "device/Device.h"
#include "device/Requester.h"
#include "log/Cast.h"
#include "log/GapFinder.h"
#include "log/LogLine.h"
#include "log/LogSurvey.h"
#include "log/SwapWatch.h"
#include "trace/Trace.h"

// Tells a sink what the messages of a log mean, one after the other. Whoever is not in the cast is
// added to it: a first replay, into a sink that does nothing, finds them all.
//
// A log does not name the levels of the devices: with a board they follow from what the algorithms
// ask for, merged by the daemon's own devices. Nor does it name the configuration in force: that is
// what a survey of the log has found.
//
// Shape:  a log may begin and end anywhere. Until a message says otherwise every algorithm is taken
//         to be asleep and every device at level 0. Behind a gap all is taken to be as it was
//         before it, until a sample names another scenario, or a monitor that would be heard of is
//         not.
// Units:  times in milliseconds, as the reader of the log has them.
// Errors: a message that does not fit what came before it is believed: lines may be missing
//         between.
class LogReplay {
public:
  // All must outlive the replay.
  LogReplay(Cast& cast, const LogSurvey& survey, TraceSink& sink);

  // What is known before the first message.
  void start();
  // Times never fall.
  void take(int64_t time, const LogLine& line);
  // Before the message that ends it.
  void gap(const LogGap& gap);
  // When a configuration came in force that the log does not tell.
  struct UntoldSwap {
    int64_t time = 0;
    std::string takenFor;
  };
  const std::vector<UntoldSwap>& untoldSwaps() const { return untold; }

private:
  // An item of a configuration while it is awake. One that a swap retires and the one that replaces
  // it may be the same to a reader of the files.
  struct Awake {
    Requester requester;
    size_t algorithm = 0;
    const Algo* item = nullptr;
    bool retired = false;
    bool returned = false; // its scenario has, and it has not decided since
    int64_t lastHeard = 0;
    int32_t level = 0; // a monitor's, which is posted
  };
  using AwakeList = std::vector<std::unique_ptr<Awake>>;
  struct Shown {
    std::unique_ptr<Device> device; // opens no node
    int32_t level = 0;
  };

  void takeMeaning(const LogLine& line);
  void enterStretch();
  void retireAll();
  void endRetired();
  void restart();
  // A number of the daemon's, in whatever the sensor counts in.
  void showTemperature(size_t sensor, int32_t number);
  void sample(const LogLine& line);
  void wake(const LogLine& line);
  void putToSleep(const LogLine& line);
  void decide(const LogLine& line);
  void request(const LogLine& line);
  void releaseStep(const LogLine& line);
  void finishChange(const std::string& name);
  void enterScenario(const std::string& name);
  void endUnheard();

  const std::string& configurationOf(bool retired) const;
  size_t algorithm(std::string_view name, std::string_view scenario, bool retired);
  Awake& wakeUp(size_t algorithm, bool retired);
  // The one that a decision is of; made if none is known.
  Awake& decider(const LogLine& line);
  template <typename Condition> void endIf(Condition condition);
  void end(const Awake& one);
  const std::string& scenarioOf(const Awake& one) const;
  bool isMonitor(const Awake& one) const;
  int32_t& levelShown(size_t algorithm);
  void show(size_t algorithm, int32_t level);
  void postMonitor(Awake& one, int32_t level);
  void postStep(const Awake& one, int32_t level);
  Device* shownDevice(const Device& device);
  void showDevices();

  Cast& cast;
  const std::vector<LogSurvey::Stretch> stretches;
  TraceSink& sink;
  SwapWatch swaps;
  SwapWatch::Event event = SwapWatch::Event::kNone; // of the message at hand
  size_t stretch = 0;
  int64_t now = 0;
  bool changing = false;
  int64_t lastGap = -1; // when it ended; before any message, never
  std::string scenario;
  std::string configuration;
  std::string predecessor;
  AwakeList awake;             // in the order in which they woke
  std::vector<int32_t> levels; // of each algorithm, as shown
  std::map<std::string, Shown, std::less<>> devices;
  std::vector<UntoldSwap> untold;
};
