#include "thread/Daemon.h"

#include "thread/MonitorThread.h"
#include "thread/SSThread.h"
#include "thread/SensorThread.h"

namespace {

template <typename Worker>
void stopAndFree(const std::string& name, Worker* worker,
                 std::map<std::string, std::thread*>& threads) {
  worker->sleepCond.notify_one();
  worker->activate();
  std::thread* thread = threads[name];
  if (thread) {
    thread->join();
    delete thread;
  }
  threads.erase(name);
  delete worker;
}

template <typename Worker>
void destroyOldItems(std::map<std::string, Worker*>& workers,
                     std::map<std::string, std::thread*>& threads) {
  for (auto entry = workers.begin(); entry != workers.end();) {
    if (!entry->second->destroyOldItems()) {
      ++entry;
      continue;
    }
    stopAndFree(entry->first, entry->second, threads);
    entry = workers.erase(entry);
  }
}

} // namespace

void Daemon::destroyOldUnusings() {
  for (const auto& [period, worker] : sensorThreads)
    worker->destroyOldScens();
  destroyOldItems(ssThreads, threads);
  destroyOldItems(monitorThreads, threads);
}
