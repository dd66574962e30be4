#include "sensor/Sensor.h"

#include "algo/Algo.h"
#include "core/Int32.h"
#include "core/Log.h"
#include "thread/ThermalThread.h"

namespace {

constexpr char kRetiredMark[] = "OLDSCEN_";

} // namespace

Sensor::Sensor(const std::string& name_, uint32_t sampling_, ThermalThread* thread_)
    : name(name_), sampling(sampling_), thread(thread_) {}

void Sensor::insertAlgoItems(Algo* algo, const std::string& scenarioName) {
  algorithms[scenarioName].push_back(algo);
}

void Sensor::traversItems() {
  std::vector<Algo*>* watching = inForce;
  if (!watching) inForce = watching = &algorithms[scenario];

  const int32_t rising = temperature;
  const int32_t falling = wrapNegate(rising);
  for (Algo* algo : *watching) {
    if (!algo) break;
    if (algo->active) continue;
    if ((algo->lowactive ? falling : rising) < algo->startTemp) continue;
    LOG_LINE("[TalmorThermal] Sensor [%s] activate Algo [%s], scen [%s]\n", name.c_str(),
             algo->name.c_str(), scenario.c_str());
    algo->activate();
  }
}

void Sensor::activate() {
  if (active.exchange(true)) return;
  if (thread) thread->activate();
}

void Sensor::changeScenario(const std::string& newScenario) {
  scenario = newScenario;
  ++era;
  std::vector<Algo*>* const watching = &algorithms[scenario];
  // The first change of a swap only renames the entry in force.
  if (watching == inForce) return;
  // Those that are still awake from an earlier time in force are not woken again, but count anew.
  for (Algo* algo : *watching) {
    if (!algo) continue;
    algo->era = era;
    if (algo->active) algo->undecided = true;
  }
  inForce = watching;
}

void Sensor::deactivateOldScen() {
  for (Algo* algo : algorithms[oldScenario]) {
    if (!algo) break;
    if (!algo->active) continue;
    LOG_LINE("[TalmorThermal] Sensor [%s] deactivate Algo [%s], scen [%s]\n", name.c_str(),
             algo->name.c_str(), oldScenario.c_str());
    algo->deactivate();
  }
}

void Sensor::addPrefixScenName(const std::string& prefix) {
  // The nodes move, not the vectors in them, so what `inForce` points to stays where it is.
  AlgoMap renamed;
  while (!algorithms.empty()) {
    AlgoMap::node_type entry = algorithms.extract(algorithms.begin());
    entry.key().insert(0, prefix);
    renamed.insert(std::move(entry));
  }
  algorithms = std::move(renamed);
}

Sensor::AlgoMap::node_type Sensor::destroyOldScens() {
  AlgoMap::node_type wasInForce;
  // Erased in place, never refilled: the entry that the sensor's thread walks meanwhile must not
  // move.
  for (auto next = algorithms.begin(); next != algorithms.end();) {
    const auto entry = next++;
    if (entry->first.find(kRetiredMark) == std::string::npos) continue;
    for (Algo* algo : entry->second) {
      if (algo) algo->old = true;
    }
    AlgoMap::node_type dropped = algorithms.extract(entry);
    if (&dropped.mapped() == inForce) wasInForce = std::move(dropped);
  }
  // A scenario whose own name holds the mark: the empty entry that the next walk would insert
  // anyway.
  if (wasInForce) inForce = &algorithms[scenario];
  return wasInForce;
}
