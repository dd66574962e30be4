#include "scenes/Board.h"

#include <cstring>

#include "algo/Monitor.h"
#include "algo/SS.h"
#include "device/ChargerDevice.h"
#include "runtime/Memory.h"
#include "runtime/Scheduler.h"
#include "scenes/Judge.h"
#include "thread/MonitorThread.h"
#include "thread/SSThread.h"
#include "thread/ScenarioThread.h"
#include "thread/SensorThread.h"

namespace {

Judge* judge = nullptr;

// A call to the judge is no part of the schedule.
template <typename Tell> void tell(Tell what) {
  const memory::OnHeap heap;
  const schedule::Quiet quiet;
  what(*judge);
}

class ObservedScenarioThread : public ScenarioThread {
protected:
  void changeWithSensorThreads(const std::map<int32_t, SensorThread*>& workers,
                               bool newConf) override {
    tell([newConf](Judge& j) { j.changeBegins(newConf); });
    ScenarioThread::changeWithSensorThreads(workers, newConf);
    tell([](Judge& j) { j.changeEnds(); });
  }
};

} // namespace

// In the global namespace for the sake of their tables' names below. An object of the daemon gets
// the table of one of these put in the place of its own, so they must have no fields.
class ObservedMonitor : public Monitor {
public:
  int decision() override;
  void activate() override;
};
class ObservedSS : public SS {
public:
  int decision() override;
  void activate() override;
};
class ObservedCharger : public ChargerDevice {
public:
  void statusApply() override;
};

extern "C" {
extern void* _ZTV15ObservedMonitor[];
extern void* _ZTV10ObservedSS[];
extern void* _ZTV15ObservedCharger[];
}

namespace {

template <typename Kind> int observedDecision(Kind& item) {
  tell([&item](Judge& j) { j.decides(item); });
  const int result = item.Kind::decision();
  tell([&item](Judge& j) { j.hasDecided(item); });
  return result;
}

void putTable(void* object, void** table) {
  void* const firstEntry = table + 2; // behind the offset and the type
  std::memcpy(object, &firstEntry, sizeof firstEntry);
}

} // namespace

int ObservedMonitor::decision() {
  return observedDecision<Monitor>(*this);
}
void ObservedMonitor::activate() {
  tell([this](Judge& j) { j.isWoken(*this); });
  Monitor::activate();
}

int ObservedSS::decision() {
  return observedDecision<SS>(*this);
}
void ObservedSS::activate() {
  tell([this](Judge& j) { j.isWoken(*this); });
  SS::activate();
}

void ObservedCharger::statusApply() {
  int64_t blocked = 0;
  tell([&](Judge& j) { blocked = j.blocksFor(*this); });
  if (blocked > 0) {
    const std::lock_guard<std::mutex> guard(lock);
    schedule::sleepUntil(schedule::now() + blocked);
  }
  ChargerDevice::statusApply();
  tell([this](Judge& j) { j.isApplied(*this); });
}

Board::Board(const Files& files, Judge& judge_)
    : ThermalMain(Paths{files.path("factory.conf"), files.path("board.env"), files.path("config/"),
                        files.path("request.dconf"), files.path("wanted.scen")}) {
  judge = &judge_;
  auto* const observed = new ObservedScenarioThread;
  observed->dconfPath = scenarioThread->dconfPath;
  observed->scenPath = scenarioThread->scenPath;
  observed->owner = this;
  delete scenarioThread;
  scenarioThread = observed;
  for (const auto& [period, worker] : sensorThreads)
    worker->scenarioThread = observed;
  observeDevices();
  observeItems();
}

void Board::dynamicConfParse(const std::string& name) {
  ThermalMain::dynamicConfParse(name);
  tell([this](Judge&) { observeItems(); });
}

void Board::observeItems() {
  const auto observe = [](const auto& registry, void** table) {
    for (const auto& [name, worker] : registry) {
      for (auto* item : worker->items) {
        putTable(item, table);
        tell([item](Judge& j) { j.isNew(*item); });
      }
    }
  };
  observe(monitorThreads, _ZTV15ObservedMonitor);
  observe(ssThreads, _ZTV10ObservedSS);
}

void Board::observeDevices() {
  for (const auto& [name, device] : devices) {
    if (dynamic_cast<ChargerDevice*>(device)) putTable(device, _ZTV15ObservedCharger);
  }
}
