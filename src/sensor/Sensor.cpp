#include "sensor/Sensor.h"

#include <algorithm>

#include "base/Int32.h"
#include "base/Log.h"
#include "base/Names.h"
#include "base/ThermalThread.h"
#include "sensor/Algo.h"

Sensor::Sensor(const std::string& name_, uint32_t sampling_, ThermalThread* thread_)
    : name(name_), sampling(sampling_), thread(thread_) {}

void Sensor::insertAlgoItems(Algo* algo, const std::string& scenarioName) {
  algorithms[scenarioName].push_back(algo);
  if (scenarioName != scenario) return;
  if (algo) algo->inForce = true;
  watching.append(algo);
}

void Sensor::traversItems() {
  if (!hasEntry) algorithms[scenario];
  hasEntry = true;

  const int32_t rising = temperature;
  const int32_t falling = wrapNegate(rising);
  watching.walk([&](Algo& algo) {
    if (algo.active) return;
    if ((algo.lowactive ? falling : rising) < algo.startTemp) return;
    LOG_LINE(message::kWoken, name.c_str(), algo.name.c_str(), scenario.c_str());
    algo.undecided = entering;
    algo.activate();
  });
}

void Sensor::activate() {
  if (active.exchange(true)) return;
  if (thread) thread->activate();
}

void Sensor::changeScenario(const std::string& newScenario) {
  scenario = newScenario;
  const std::vector<Algo*>& coming = algorithms[scenario];
  hasEntry = true;
  // The first change of a swap only renames the entry in force.
  if (std::equal(watching.begin(), watching.end(), coming.begin(), coming.end())) return;
  for (Algo* algo : watching) {
    if (algo) algo->inForce = false;
  }
  for (Algo* algo : coming) {
    if (!algo) continue;
    algo->inForce = true;
    algo->undecided = false;
    algo->returned = algo->active.load();
  }
  watching.replace(coming);
  entering = true;
}

void Sensor::deactivateOldScen() {
  entering = false;
  for (Algo* algo : algorithms[oldScenario]) {
    if (!algo) break;
    if (!algo->active) continue;
    LOG_LINE(message::kPutToSleep, name.c_str(), algo->name.c_str(), oldScenario.c_str());
    algo->deactivate();
  }
}

void Sensor::addPrefixScenName(const std::string& prefix) {
  AlgoMap renamed;
  while (!algorithms.empty()) {
    AlgoMap::node_type entry = algorithms.extract(algorithms.begin());
    entry.key().insert(0, prefix);
    renamed.insert(std::move(entry));
  }
  algorithms = std::move(renamed);
}

void Sensor::destroyOldScens() {
  bool inForceIsDropped = false;
  for (auto next = algorithms.begin(); next != algorithms.end();) {
    const auto entry = next++;
    if (entry->first.find(kRetiredMark) == std::string::npos) continue;
    for (Algo* algo : entry->second) {
      if (algo) algo->old = true;
    }
    if (entry->first == scenario) inForceIsDropped = true;
    algorithms.erase(entry);
  }
  if (!inForceIsDropped) return;
  // A scenario whose own name holds the mark: the empty entry that the next sample would insert
  // anyway.
  algorithms[scenario];
  watching.replace({});
}
