#include "support/LiveBoard.h"

#include <fcntl.h>
#include <unistd.h>

#include <cstdio>

#include <gtest/gtest.h>

LiveBoard::LiveBoard(const std::string& environment, const std::string& configuration) {
  files.write("board.env", withNodes(environment));
  files.write("factory.conf", configuration);
  board = std::make_unique<Board>(files);
  board->scenarioThread->started = true;
}

LiveBoard::~LiveBoard() {
  running.clear();
  endAtOnce(board->ssThreads);
  endAtOnce(board->monitorThreads);
  freeDroppedScenarios();
}

JournalDevice& LiveBoard::journalDevice(const std::string& name) {
  delete board->devices.at(name);
  auto* device = new JournalDevice(name);
  board->devices[name] = device;
  return *device;
}

void LiveBoard::start() {
  for (const auto& [period, worker] : board->sensorThreads)
    running.push_back(std::make_unique<RunningSensorThread>(*worker, *new EndingSensor(*worker)));
  board->runThreads();
  for (const auto& [name, sensor] : board->sensors) {
    if (!sensor->active) continue;
    eventuallyOrAbort([sampled = sensor] { return sampled->temperature != 0; }, "a first sample");
  }
}

void LiveBoard::cycle() {
  const std::future<void> work = beginCycle();
  eventuallyOrAbort([&work] { return isOver(work); }, "a cycle of the scenario thread");
}

std::future<void> LiveBoard::beginCycle() {
  rememberScenarios();
  return std::async(std::launch::async, [this] { board->scenarioThread->cycle(); });
}

void LiveBoard::switchTo(const std::string& scenario) {
  files.write("wanted.scen", scenario);
  cycle();
  cycle();
  ASSERT_EQ(scenarioThread().currentScenName, scenario);
}

void LiveBoard::swapTo(const std::string& configurationFile) {
  files.write("request.dconf", configurationFile);
  cycle();
  ASSERT_EQ(scenarioThread().confState, configurationFile);
  cycle();
  ASSERT_EQ(files.read("request.dconf"), "PARSED");
}

void LiveBoard::setTemperature(const std::string& sensor, int32_t millidegrees) {
  char text[16];
  const int length = std::snprintf(text, sizeof text, "%06d\n", millidegrees);
  const int node = ::open(files.node(sensor).c_str(), O_WRONLY | O_CLOEXEC);
  ASSERT_EQ(::pwrite(node, text, static_cast<size_t>(length), 0), length);
  ::close(node);
}

void LiveBoard::bringTo(const std::string& sensor, int32_t millidegrees) {
  setTemperature(sensor, millidegrees);
  const Sensor& watched = *board->sensors.at(sensor);
  ASSERT_TRUE(eventually([&] { return watched.temperature == millidegrees; }));
}

std::string LiveBoard::withNodes(std::string environment) const {
  for (size_t at = environment.find('@'); at != std::string::npos; at = environment.find('@')) {
    const size_t end = environment.find_first_of(" \n", at);
    const std::string name = environment.substr(at + 1, end - at - 1);
    environment.replace(at, end - at, files.write(name, "020000\n"));
  }
  return environment;
}

// So that the board need not wait for the end of a long period when it joins the threads.
template <typename Worker>
void LiveBoard::endAtOnce(const std::map<std::string, Worker*>& workers) {
  for (const auto& [name, worker] : workers) {
    worker->stopRequested = true;
    worker->activate();
    // Its thread lets go of this mutex only in its period wait and at its end.
    { const std::lock_guard<std::mutex> periodWait(worker->sleepMutex); }
    worker->sleepCond.notify_one();
  }
}

void LiveBoard::rememberScenarios() {
  for (const auto& [name, scenario] : board->scenarios)
    scenariosSeen.insert(scenario);
}

void LiveBoard::freeDroppedScenarios() {
  for (const auto& [name, scenario] : board->scenarios)
    scenariosSeen.erase(scenario);
  for (const Scenario* dropped : scenariosSeen)
    delete dropped;
}
