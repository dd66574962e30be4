#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "margin/MarginResult.h"
#include "margin/MarginStudy.h"
#include "support/SysfsDir.h"

// What differs of a run from a calm one, by the names of its measures. In a calm one it is 40
// degrees everywhere, no level changes, all work is done and all limits are kept.
using MarginFigures = std::map<std::string, int32_t>;

// A limit or a requirement.
inline Budget budgetFrom(const std::string& text) {
  const BudgetText limit = readLimit(text);
  return limit.budget ? *limit.budget : readRequirement(text).budget.value();
}

// A run on a board with the sensor "cpu", the node "die", and a device and a source that are both
// called "gpu", held to these limits and requirements.
inline MarginStudy::Run marginRun(const std::string& name,
                                  const std::vector<std::string>& budgets) {
  TraceDescription board;
  board.sensors.resize(2);
  board.sensors[0].name = "cpu";
  board.sensors[1].name = "die";
  board.sensors[1].kind = SensorTrack::Kind::kPlantNode;
  board.devices = {{"gpu", "gpufreq", {"100", "60"}}};
  for (const std::string& text : budgets)
    board.hold(budgetFrom(text));
  return {name, name + ".conf", "game", board.budgets, measuresOf(board, {"gpu"})};
}

// Of two minutes, with two drivers that are independent.
inline MarginStudy marginStudy(const std::vector<MarginStudy::Run>& runs) {
  MarginStudy study;
  study.title = "board";
  study.runs = runs;
  study.drivers = {{"resistance.die-ambient", "glue", {}}, {"sensor.cpu.offset", "", {}}};
  study.independent = {{0}, {1}};
  study.seed = 3;
  study.duration = 120'000;
  study.inputs = {{"board.env", "ab12"}, {"plant.toml", "cd34"}};
  study.replay = "thermalctl margin board";
  return study;
}

// A row for each unit, or for each run of a sample.
class MarginRows {
public:
  explicit MarginRows(const MarginStudy& study_)
      : study(study_), spool(folder.node(""), study_.columns()) {}

  // By the study's runs; those that are left out are calm.
  std::vector<int32_t> rowOf(const std::vector<MarginFigures>& figures) const {
    std::vector<int32_t> row;
    for (size_t run = 0; run < study.runs.size(); ++run) {
      MarginFigures own = run < figures.size() ? figures[run] : MarginFigures();
      for (const Measure& measure : study.runs[run].figures.measures) {
        const auto told = own.find(measure.name);
        row.push_back(told == own.end() ? calm(measure) : told->second);
        own.erase(measure.name);
      }
      EXPECT_TRUE(own.empty()) << "there is no " << own.begin()->first;
    }
    return row;
  }

  void add(const std::vector<MarginFigures>& figures) { spool.add(rowOf(figures)); }
  // Of one run.
  void addEach(const std::vector<MarginFigures>& units) {
    for (const MarginFigures& figures : units)
      add({figures});
  }
  UnitRows rows() { return spool.rows(); }

private:
  static int32_t calm(const Measure& measure) {
    if (measure.name == "stood_still_s") return kUnseen;
    if (measure.of == Measure::Of::kTemperature) return 40'000;
    return measure.of == Measure::Of::kWork ? 100'000'000 : 0;
  }

  const SysfsDir folder;
  const MarginStudy& study;
  UnitSpool spool;
};

// What units from 1 on have come to that have these figures in the study's one run.
inline MarginResult marginResult(const MarginStudy& study, const std::vector<MarginFigures>& units,
                                 const std::optional<Question>& question = std::nullopt) {
  MarginRows rows(study);
  MarginRows none(study);
  rows.addEach(units);
  return resultOf(study, 1, rows.rows(), none.rows(), question);
}
