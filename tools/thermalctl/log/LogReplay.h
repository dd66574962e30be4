#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "device/Device.h"
#include "log/Cast.h"
#include "log/LogLine.h"
#include "trace/Trace.h"

// The scenario that the configuration declares, without the marks of one that was retired.
std::string_view declaredScenario(std::string_view scenario);

// Tells a sink what the messages of a log mean, one after the other. Whoever is not in the cast is
// added to it: a first replay, into a sink that does nothing, finds them all.
//
// A log does not name the levels of the devices: with a board they follow from what the algorithms
// ask for, merged by the daemon's own devices. Nor does it name the configuration in force: it is
// the one that the algorithms in the log belong to.
//
// Shape:  a log may begin and end anywhere. Until a message says otherwise every algorithm is taken
//         to be asleep and every device at level 0.
// Units:  times in milliseconds, as the reader of the log has them.
// Errors: a message that does not fit what came before it is believed: lines may be missing
//         between.
class LogReplay {
public:
  // `board` may be null. All must outlive the replay.
  LogReplay(Cast& cast, const BoardFolder* board, TraceSink& sink);

  // What is known before the first message.
  void start(const std::string& scenario);
  // Times never fall.
  void take(int64_t time, const LogLine& line);

private:
  // One that the log shows awake may have begun before the log does.
  struct State {
    int32_t level = TraceSink::kAsleep;
    uint32_t postedLevel = 0; // of a monitor: whose requests are posted
  };
  struct Shown {
    std::unique_ptr<Device> device; // opens no node
    int32_t level = 0;
  };

  void restart();
  void wake(const LogLine& line);
  void putToSleep(const LogLine& line);
  void decide(const LogLine& line);
  void request(const LogLine& line);
  void releaseStep(const LogLine& line);
  void enterScenario(const std::string& name);

  size_t algorithm(std::string_view name, std::string_view scenario);
  // The one of that name that is awake, or the one that would be in the scenario in force.
  size_t current(std::string_view name);
  State& stateOf(size_t algorithm);
  void setLevel(size_t algorithm, int32_t level);
  void postMonitor(size_t algorithm, uint32_t level);
  void postStep(size_t algorithm, int32_t level);
  void control(const std::string& requester, const Device& device, int32_t level);
  void showDevices();

  Cast& cast;
  const BoardFolder* board;
  TraceSink& sink;
  int64_t now = 0;
  std::string scenario;
  std::string configuration;
  std::vector<State> states;                        // of each algorithm
  std::map<std::string, size_t, std::less<>> awake; // by name, the one woken last
  std::set<size_t> wokenInSwap;
  std::map<std::string, Shown, std::less<>> devices;
};
