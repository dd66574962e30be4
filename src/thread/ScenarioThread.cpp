#include "thread/ScenarioThread.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <fstream>
#include <map>
#include <string_view>
#include <thread>

#include "base/Log.h"
#include "base/Names.h"
#include "base/TextReader.h"
#include "thread/Daemon.h"
#include "thread/MonitorThread.h"
#include "thread/SSThread.h"
#include "thread/SensorThread.h"

namespace {

// Appends the first word of `file` to `word`, which is empty. For two looks a second that go on for
// ever: a file stream would seek first, ask once more at the end, and take its buffer from the
// heap. A pipe has no positions: as to a stream that has to seek, it is empty, and it keeps what it
// holds.
void readFirstWord(int file, std::string& word) {
  std::array<char, 256> buffer;
  for (off_t position = 0;;) {
    const ssize_t got = ::pread(file, buffer.data(), buffer.size(), position);
    if (got <= 0) return;
    std::string_view text(buffer.data(), static_cast<size_t>(got));
    if (word.empty())
      text.remove_prefix(std::min(text.find_first_not_of(kWhiteSpace), text.size()));
    const size_t end = text.find_first_of(kWhiteSpace);
    word.append(text.substr(0, end));
    // Less than there is room for is the last of it.
    if (end != std::string_view::npos || got < static_cast<ssize_t>(buffer.size())) return;
    position += got;
  }
}

// Makes sure that the worker waits at the barrier before it is notified: it holds this mutex from
// its check-in until it waits, so whoever gets the mutex after the check-in comes after the wait
// has begun.
void awaitWaitAt(std::mutex& handshake) {
  const std::lock_guard<std::mutex> guard(handshake);
}

// How long a change waits for the items that it has woken, in all, and how often it looks.
constexpr std::chrono::milliseconds kDecisionLimit{100};
constexpr std::chrono::microseconds kDecisionPoll{100};

template <typename T> void noteDecisionsUnderWay(const std::map<std::string, T*>& workers) {
  for (const auto& [name, worker] : workers)
    worker->noteDecisionUnderWay();
}

// Wakes the workers whose items the change waits for. Returns whether there are any.
template <typename T> bool askForDecisions(const std::map<std::string, T*>& workers) {
  bool any = false;
  for (const auto& [name, worker] : workers) {
    if (!worker->isAwaited()) continue;
    worker->sleepCond.notify_one();
    any = true;
  }
  return any;
}

} // namespace

ScenarioThread::ScenarioThread() : thermalThread<Scenario>(int{kControlPeriod.count()}) {}

void ScenarioThread::operator()() {
  for (;;) {
    cycle();
    std::this_thread::sleep_for(kControlPeriod);
  }
}

void ScenarioThread::cycle() {
  scenarioStep();
  configurationStep();
}

void ScenarioThread::scenarioStep() {
  if (currentScenName != requestedScenName) {
    scenUpdateWithSensorThread(false);
    return;
  }
  const std::string& word = checkStringInFile(scenPath);
  if (word == kNoFile) {
    LOG_LINE(message::kNoScenarioFile);
    writeToFile(scenPath, currentScenName);
    return;
  }
  const auto known = owner->scenarios.find(word);
  if (known == owner->scenarios.end() || !known->second) {
    LOG_LINE(message::kUnknownScenario, word.c_str());
    writeToFile(scenPath, currentScenName);
    return;
  }
  requestedScenName = word;
}

void ScenarioThread::configurationStep() {
  if (confState != kParsed) {
    applyConfiguration();
    return;
  }
  const std::string& word = checkStringInFile(dconfPath);
  if (word == kNoFile) {
    LOG_LINE(message::kNoRequestFile);
    writeToFile(dconfPath, kParsed);
    return;
  }
  if (word != kParsed && !owner->findConfFile(word)) {
    LOG_LINE(message::kUnknownConfiguration, word.c_str());
    writeToFile(dconfPath, kParsed);
    return;
  }
  confState = word;
}

void ScenarioThread::applyConfiguration() {
  LOG_LINE(message::kSwapBegins);
  scenUpdateWithSensorThread(true);
  owner->dynamicConfParse(confState);
  if (owner->scenarios.count(currentScenName) == 0) {
    LOG_LINE(message::kScenarioLost, lastWord.c_str());
    currentScenName = kDefaultScenario;
    requestedScenName = kDefaultScenario;
    writeToFile(scenPath, kDefaultScenario);
  }
  scenUpdateWithSensorThread(false);
  owner->destroyOldUnusings();
  confState = kParsed;
  writeToFile(dconfPath, kParsed);
  LOG_LINE(message::kSwapDone);
}

void ScenarioThread::scenUpdateWithSensorThread(bool newConf) {
  const std::map<int32_t, SensorThread*> workers = owner->sensorThreads;
  const std::map<std::string, Scenario*> scenarios = owner->scenarios;
  LOG_LINE(message::kChangeBegins, currentScenName.c_str(), requestedScenName.c_str());

  changeWithSensorThreads(workers, newConf);

  // A name that the configuration does not declare has no flag to move.
  const auto mark = [&scenarios](const std::string& name, bool inForce) {
    const auto scenario = scenarios.find(name);
    if (scenario != scenarios.end() && scenario->second) scenario->second->active = inForce;
  };
  mark(currentScenName, false);
  mark(requestedScenName, true);
  currentScenName = requestedScenName;
  LOG_LINE(message::kChangeDone, currentScenName.c_str());
}

void ScenarioThread::changeWithSensorThreads(const std::map<int32_t, SensorThread*>& workers,
                                             bool newConf) {
  noteDecisionsUnderWay(owner->ssThreads);
  noteDecisionsUnderWay(owner->monitorThreads);
  for (const auto& [sampling, worker] : workers)
    park(*worker);
  passBarrier();
  for (const auto& [sampling, worker] : workers)
    handOverName(*worker, newConf);
  passBarrier();
  // The first change of a swap lets nobody go.
  if (!newConf) letWokenItemsDecide();
  for (const auto& [sampling, worker] : workers)
    release(*worker);
  passBarrier();
}

void ScenarioThread::park(SensorThread& worker) {
  ++pendingCount;
  worker.scenChangeRequested = true;
  worker.sleepCond.notify_one();
}

void ScenarioThread::prepareName(SensorThread& worker, bool newConf) {
  std::string name = requestedScenName;
  if (newConf) {
    for (Sensor* sensor : worker.items)
      sensor->addPrefixScenName(kRetiredMark);
    name.insert(0, kRetiredMark);
  }
  worker.newScenName = name;
}

void ScenarioThread::handOverName(SensorThread& worker, bool newConf) {
  ++pendingCount;
  prepareName(worker, newConf);
  worker.holdForScenThread = false;
  awaitWaitAt(worker.handshakeMutex[0]);
  worker.handshakeCond[0].notify_one();
}

void ScenarioThread::release(SensorThread& worker) {
  ++pendingCount;
  // Before the worker can pass the barrier: one that comes round again must not find the request
  // still up and start a change that nobody leads.
  worker.scenChangeRequested = false;
  worker.holdForScenThread = false;
  awaitWaitAt(worker.handshakeMutex[1]);
  worker.handshakeCond[1].notify_one();
}

// The new scenario's algorithms are awake, those of the old one still hold their devices. Waits,
// for a bounded time, until the new ones have posted their first requests: otherwise a device that
// both want would drop to level 0 until the new one's worker comes round.
void ScenarioThread::letWokenItemsDecide() {
  using Clock = std::chrono::steady_clock;
  const Clock::time_point lastLook = Clock::now() + kDecisionLimit - kDecisionPoll;
  for (;;) {
    const bool steps = askForDecisions(owner->ssThreads);
    const bool levels = askForDecisions(owner->monitorThreads);
    if ((!steps && !levels) || Clock::now() >= lastLook) return;
    std::this_thread::sleep_for(kDecisionPoll);
  }
}

void ScenarioThread::passBarrier() {
  std::unique_lock<std::mutex> lock(loopMutex);
  while (pendingCount >= 1)
    activateCond.wait(lock);
}

void ScenarioThread::checkIn() {
  // Held around the count-down and the notification, so that neither can fall between the scenario
  // thread's look at the count and its wait.
  const std::lock_guard<std::mutex> loopGuard(loopMutex);
  const std::lock_guard<std::mutex> pendingGuard(pendingMutex);
  if (pendingCount-- == 1) activateCond.notify_one();
}

const std::string& ScenarioThread::checkStringInFile(const std::string& path) {
  const int file = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
  if (file < 0) return lastWord = kNoFile;
  lastWord.clear();
  readFirstWord(file, lastWord);
  ::close(file);
  return lastWord;
}

void ScenarioThread::writeToFile(const std::string& path, const std::string& text) {
  std::ofstream(path) << text;
}
