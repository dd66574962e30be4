#pragma once

#include <filesystem>
#include <map>
#include <string>
#include <thread>

#include "core/ThermalMain.h"
#include "device/Device.h"
#include "support/FreeObjects.h"
#include "support/SysfsDir.h"
#include "thread/MonitorThread.h"
#include "thread/SSThread.h"
#include "thread/ScenarioThread.h"
#include "thread/SensorThread.h"

// The files of a daemon in a temporary directory, an empty environment and factory configuration to
// begin with.
class BoardFiles : public SysfsDir {
public:
  BoardFiles() {
    std::filesystem::create_directory(node("config"));
    write("board.env", "");
    write("factory.conf", "");
  }
};

// A daemon started on such files up to the point where its threads would start.
class Board : public ThermalMain {
public:
  explicit Board(const SysfsDir& files)
      : ThermalMain(Paths{files.node("factory.conf"), files.node("board.env"),
                          files.node("config/"), files.node("request.dconf"),
                          files.node("wanted.scen")}) {}

  ~Board() {
    endThreads(ssThreads);
    endThreads(monitorThreads);
    freeWorkers(ssThreads);
    freeWorkers(monitorThreads);
    freeWorkers(sensorThreads);
    freeObjects(devices);
    freeObjects(scenarios);
    delete scenarioThread;
  }

  // Counts the endless workers as running, so that `runThreads` starts algorithm workers alone.
  void withoutEndlessThreads() {
    for (const auto& [period, worker] : sensorThreads)
      worker->started = true;
    scenarioThread->started = true;
  }

private:
  template <typename Worker> void endThreads(const std::map<std::string, Worker*>& workers) {
    for (const auto& [name, worker] : workers) {
      const auto thread = threads.find(name);
      if (thread == threads.end() || !thread->second) continue;
      worker->stopRequested = true;
      worker->activate();
      thread->second->join();
      delete thread->second;
    }
  }
};
