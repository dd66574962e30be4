#pragma once

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <fstream>
#include <functional>
#include <map>
#include <string>
#include <vector>

#include "base/Log.h"
#include "base/Names.h"
#include "control/ControlFile.h"
#include "control/Waiting.h"
#include "file/ReplaceFile.h"
#include "support/LiveBoard.h"
#include "support/LogSwitchedOff.h"
#include "thread/Scenario.h"

// The daemon's own scenario thread beside a request, both by a clock that only waiting moves on: it
// looks at its files once a second, for the first time after `firstCycle`. It knows the scenarios
// "Default" and "game".
class PacedDaemon : public Waiting {
public:
  using Milliseconds = std::chrono::milliseconds;

  explicit PacedDaemon(Milliseconds firstCycle = Milliseconds(500))
      : directory(board.files.node("")), nextCycle(start + firstCycle) {
    for (const char* name : {"Default", "game"})
      board.main().scenarios[name] = new Scenario(name, std::string(name) == "Default");
    directory.scenarioFile = board.files.node("wanted.scen");
    directory.requestFile = board.files.node("request.dconf");
    directory.configurations = board.files.node("config/");
    std::filesystem::last_write_time(directory.scenarioFile,
                                     std::filesystem::file_time_type::clock::now() -
                                         std::chrono::hours(1));
  }

  Time now() override { return time; }
  void stage(const std::string& what) override { stages.push_back(what); }

  // Whoever else is there comes before the daemon, should both be due.
  void pause(Milliseconds step, int = kNothing) override {
    time += step;
    while (!events.empty() && start + events.begin()->first <= time) {
      events.begin()->second();
      events.erase(events.begin());
    }
    // One that comes back makes up for nothing.
    if (!isRunning) nextCycle = std::max(nextCycle, time + Milliseconds(1));
    while (isRunning && nextCycle <= time) {
      const LogSwitchedOff silence;
      board.cycle();
      nextCycle += period;
      if (behindCycle) behindCycle();
    }
  }

  // Has something happen in the course of the waiting.
  void at(Milliseconds when, std::function<void()> what) { events.emplace(when, std::move(what)); }

  // Another writer's file, renamed into its place.
  static void writeElsewhere(const std::string& path, const std::string& word) {
    replaceFile(path, word);
  }
  // The same, written into the file that is there.
  static void writeInPlace(const std::string& path, const std::string& word) {
    std::ofstream(path) << word;
  }
  // Someone else's look at both of the files, in the daemon's order.
  void readElsewhere() const {
    ControlFile(directory.scenarioFile).word();
    ControlFile(directory.requestFile).word();
  }

  // What is in force, whatever the files say.
  const std::string& scenarioInForce() { return board.scenarioThread().currentScenName; }
  Milliseconds passed() const { return std::chrono::duration_cast<Milliseconds>(time - start); }

  LiveBoard board{""};
  ControlDirectory directory;
  bool isRunning = true;
  Milliseconds period = kControlPeriod;
  std::vector<std::string> stages;
  // What somebody does right behind each of the daemon's looks.
  std::function<void()> behindCycle;

private:
  const Time start{};
  Time time = start;
  Time nextCycle;
  std::multimap<Milliseconds, std::function<void()>> events;
};
