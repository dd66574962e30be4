#pragma once

#include <memory>
#include <set>
#include <string>
#include <vector>

#include "support/Board.h"
#include "support/JournalDevice.h"
#include "support/RunningThreads.h"

class Real;

// A daemon whose sensors and algorithms have their threads from `start` on, while the cycles of its
// scenario thread are the test's to call. Everything is stopped and freed with the scope.
class LiveBoard {
public:
  // In the environment "@name" is the path of a node of that name, which is made and reads 20000.
  explicit LiveBoard(const std::string& environment, const std::string& configuration = "");
  ~LiveBoard();
  LiveBoard(const LiveBoard&) = delete;
  LiveBoard& operator=(const LiveBoard&) = delete;

  Board& main() { return *board; }
  ScenarioThread& scenarioThread() { return *board->scenarioThread; }
  SensorThread& sensorThread(int32_t period) { return *board->sensorThreads.at(period); }
  MonitorThread& monitorThread(const std::string& key) { return *board->monitorThreads.at(key); }
  Sensor& sensor(const std::string& name) { return *board->sensors.at(name); }

  // Puts a device that keeps its history in the place of the environment's. Only before the first
  // item that drives it is read.
  JournalDevice& journalDevice(const std::string& name);

  // Starts all threads and waits until each has sampled its active sensors.
  void start();
  // One cycle of the scenario thread, waited for or left under way.
  void cycle();
  std::future<void> beginCycle();
  // Asks for a scenario or a configuration file and makes the cycles that put it in force.
  void switchTo(const std::string& scenario);
  void swapTo(const std::string& configurationFile);

  // Gives the node that has the sensor's name another temperature, of up to six digits. Never is it
  // empty in between, which a running sensor would take for a failed read.
  void setTemperature(const std::string& sensor, int32_t millidegrees);
  // The same, and waits until it is sampled.
  void bringTo(const std::string& sensor, int32_t millidegrees);

  const BoardFiles files;

  // Call before anything but a cycle reads a configuration: the daemon drops the scenarios of a
  // replaced one without freeing them, so the board does.
  void rememberScenarios();

private:
  std::string withNodes(std::string environment) const;
  template <typename Worker> void endAtOnce(const std::map<std::string, Worker*>& workers);
  void freeDroppedScenarios();

  std::unique_ptr<Board> board;
  std::vector<std::unique_ptr<RunningSensorThread>> running;
  std::set<Scenario*> scenariosSeen;
};
