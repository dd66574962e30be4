#include "margin/Sampling.h"

#include <atomic>
#include <map>
#include <mutex>
#include <utility>

#include "margin/Measures.h"
#include "simulate/Engine.h"
#include "study/Jobs.h"
#include "study/StudyProgress.h"
#include "text/Characters.h"
#include "text/Phrases.h"

Range Range::shard(uint64_t index, uint64_t count) const {
  // Without a product that could pass 64 bits.
  const auto upTo = [&](uint64_t shards) {
    return first + size() / count * shards + size() % count * shards / count;
  };
  return {upTo(index - 1), upTo(index)};
}

Sampling::Sampling(const Study& study_, const Population& population_, const MarginStudy& asked_,
                   size_t threads_)
    : study(study_), population(population_), asked(asked_), threads(threads_),
      working(workingSources(study_.inputs.front().plant)) {}

std::vector<int32_t> Sampling::rowOf(const std::vector<double>& standard, uint64_t noise) {
  std::vector<int32_t> row;
  for (const Study::Cell& cell : study.cells) {
    RunInput input = population.unit(study.inputs[cell.input], standard);
    input.seed = noise;
    UnitFigures figures(working);
    Engine engine(input, figures, {[](int64_t) {}, [](int64_t, const std::string&) {}});
    engine.run();
    row.insert(row.end(), figures.values().begin(), figures.values().end());
  }
  return row;
}

Sampling::Rows Sampling::sampleOf(uint64_t number) {
  const size_t count = population.spreads.size();
  const uint64_t noise = noiseSeed(asked.seed, number);
  const std::vector<double> unit = standardNumbers(asked.seed, number, Stream::kUnit, count);
  const std::vector<double> other = standardNumbers(asked.seed, number, Stream::kOther, count);
  // All with one noise: what differs between two rows is to come of the drivers alone. Correlated
  // drivers change hands together, since one alone would make a unit that there is not.
  Rows rows = {rowOf(unit, noise), rowOf(other, noise)};
  for (const std::vector<size_t>& part : asked.independent) {
    std::vector<double> mixed = unit;
    for (const size_t driver : part)
      mixed[driver] = other[driver];
    rows.push_back(rowOf(mixed, noise));
  }
  return rows;
}

size_t Sampling::units(const Range& range, const Listener& listener, UnitSpool& rows) {
  const size_t count = population.spreads.size();
  const auto make = [&](uint64_t unit) {
    return Rows{rowOf(standardNumbers(asked.seed, unit, Stream::kUnit, count),
                      noiseSeed(asked.seed, unit))};
  };
  return run(range, 1, make, listener, rows);
}

size_t Sampling::samples(const Range& range, const Listener& listener, UnitSpool& rows) {
  return run(
      range, asked.sobolRuns(), [this](uint64_t number) { return sampleOf(number); }, listener,
      rows);
}

size_t Sampling::run(const Range& range, size_t runsEach, const std::function<Rows(uint64_t)>& make,
                     const Listener& listener, UnitSpool& rows) {
  std::mutex mutex;
  std::map<size_t, Rows> waiting;
  std::atomic<bool> stopped = false;
  size_t taken = 0;
  bool closed = false;
  const int64_t each = asked.duration * static_cast<int64_t>(study.cells.size() * runsEach);
  StudyProgress progress("unit", range.size(), each);
  const auto work = [&](size_t index) {
    if (stopped || !listener.goesOn()) {
      stopped = true;
      return;
    }
    Rows made = make(range.first + index);
    progress.advance(each);
    progress.finishOne();
    const std::lock_guard lock(mutex);
    waiting[index] = std::move(made);
  };
  const auto after = [&](size_t index) {
    std::unique_lock lock(mutex);
    const auto found = waiting.find(index);
    // Behind one that was not run none counts: what is known is known of the first ones.
    closed = closed || found == waiting.end();
    if (closed) return;
    // Taken out under the lock, and written without it: the others go on meanwhile.
    const Rows made = std::move(found->second);
    waiting.erase(found);
    lock.unlock();
    for (const std::vector<int32_t>& row : made)
      rows.add(row);
    ++taken;
    if (!listener.told(made.front())) closed = stopped = true;
  };
  runJobs(range.size(), threads, work, after);
  progress.clear();
  return taken;
}

MarginStudy askedOf(const Study& study, const Population& population) {
  MarginStudy asked;
  const std::vector<std::string> working = workingSources(study.inputs.front().plant);
  for (const Study::Cell& cell : study.cells) {
    const TraceDescription& run = study.inputs[cell.input].description;
    asked.runs.push_back(
        {cell.name, cell.configuration, cell.workload, run.budgets, measuresOf(run, working)});
  }
  for (const Population::Spread& spread : population.spreads)
    asked.drivers.push_back({spread.name, spread.reason, spread.distribution.steps()});
  asked.factor = population.factor;
  asked.independent = population.independentParts();
  asked.seed = study.cells.front().seed;
  asked.duration = study.inputs.front().duration;
  return asked;
}

std::vector<std::string> workingSources(const PlantDescription& plant) {
  std::vector<std::string> names;
  for (const PlantDescription::Source& source : plant.sources)
    if (source.work) names.push_back(source.name);
  return names;
}

Study ofUnit(const Study& study, const Population& population, uint64_t unit) {
  Study one = study;
  one.inputs.clear();
  for (Study::Cell& cell : one.cells) {
    const std::vector<double> standard =
        standardNumbers(cell.seed, unit, Stream::kUnit, population.spreads.size());
    one.inputs.push_back(population.unit(study.inputs[cell.input], standard));
    cell.input = one.inputs.size() - 1;
    cell.noiseSeed = noiseSeed(cell.seed, unit);
  }
  return one;
}
