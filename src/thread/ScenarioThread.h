#pragma once

#include <cstdint>
#include <map>
#include <string>

#include "base/Names.h"
#include "thread/Scenario.h"
#include "thread/Worker.h"

class Daemon;
class SensorThread;

// Steers the daemon by two control files of one word each, polled once a second: the scenario
// wanted, and the configuration file wanted.
//
// Errors:  a missing file is logged and written anew, an unknown word is logged and overwritten; a
//          file that cannot be written is left as it is.
// Threads: its own fields are its own, but for the barrier's, which the sensor threads count down
//          through `checkIn`.
class ScenarioThread : public thermalThread<Scenario> {
public:
  ScenarioThread();

  void operator()() override;

  // One cycle: the scenario file, then the configuration request file.
  void cycle();

  // A sensor thread has reached the barrier; the last one wakes the scenario thread.
  void checkIn();

  // The first word of the file, or `kNoFile` when it cannot be opened. Good until the next call.
  const std::string& checkStringInFile(const std::string& path);

  // Makes `text`, without a line end, the content of the file. Failures are ignored.
  void writeToFile(const std::string& path, const std::string& text);

  // The three-phase change to `requestedScenName` with every sensor thread. With `newConf` the
  // algorithms in force go on under their retired names.
  void scenUpdateWithSensorThread(bool newConf);

  // Sensor threads that have not reached the current barrier. Raised by this thread, lowered in
  // `checkIn`.
  std::atomic<int32_t> pendingCount{0};
  std::mutex pendingMutex;
  // `kParsed`, or the configuration file to apply in the next cycle.
  std::string confState{kParsed};
  std::string dconfPath;
  std::string scenPath;
  Daemon* owner = nullptr;
  std::string currentScenName{kDefaultScenario};
  std::string requestedScenName{kDefaultScenario};

protected:
  // The part of a change that waits for the sensor threads, in its three phases, and its steps.
  // Where there are no threads, a step does at once what these would do behind the next barrier.
  virtual void changeWithSensorThreads(const std::map<int32_t, SensorThread*>& workers,
                                       bool newConf);
  virtual void park(SensorThread& worker);
  virtual void handOverName(SensorThread& worker, bool newConf);
  virtual void letWokenItemsDecide();
  virtual void release(SensorThread& worker);

  // Leaves the worker the name to change to. With `newConf` its sensors move their algorithms
  // first.
  void prepareName(SensorThread& worker, bool newConf);

private:
  void scenarioStep();
  void configurationStep();
  void applyConfiguration();
  void passBarrier();

  // What `checkStringInFile` returned last: for the one message that names it, and to fill the same
  // storage every time.
  std::string lastWord;
};
