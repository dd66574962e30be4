#include "margin/MarginStudy.h"

#include <nlohmann/json.hpp>

#include "text/Json.h"

namespace {

using StudyJson = nlohmann::ordered_json;

StudyJson asJsonOf(const MarginStudy::Run& run) {
  StudyJson budgets = StudyJson::array();
  for (size_t i = 0; i < run.budgets.size(); ++i)
    budgets.push_back({{"budget", textOf(run.budgets[i])},
                       {"measured", run.figures.budgets[i].measured},
                       {"verdict", run.figures.budgets[i].verdict}});
  StudyJson measures = StudyJson::array();
  for (const Measure& measure : run.figures.measures)
    measures.push_back(StudyJson::array({measure.name, static_cast<int>(measure.of)}));
  return {{"name", run.name},
          {"configuration", run.configuration},
          {"workload", run.workload},
          {"budgets", budgets},
          {"measures", measures}};
}

// What `textOf` has made of a budget.
Budget budgetOf(const std::string& text) {
  BudgetText read = readLimit(text);
  if (!read.budget) read = readRequirement(text);
  return read.budget.value();
}

MarginStudy::Run runFrom(const StudyJson& json) {
  MarginStudy::Run run;
  json.at("name").get_to(run.name);
  json.at("configuration").get_to(run.configuration);
  json.at("workload").get_to(run.workload);
  for (const StudyJson& measure : json.at("measures"))
    run.figures.measures.push_back(
        {measure.at(0).get<std::string>(), static_cast<Measure::Of>(measure.at(1).get<int>())});
  for (const StudyJson& budget : json.at("budgets")) {
    run.budgets.push_back(budgetOf(budget.at("budget").get<std::string>()));
    run.figures.budgets.push_back(
        {budget.at("measured").get<size_t>(), budget.at("verdict").get<size_t>()});
  }
  return run;
}

MarginStudy studyFrom(const StudyJson& json) {
  MarginStudy study;
  json.at("title").get_to(study.title);
  json.at("seed").get_to(study.seed);
  json.at("milliseconds").get_to(study.duration);
  json.at("sobol_samples").get_to(study.sobolSamples);
  json.at("replay").get_to(study.replay);
  for (const StudyJson& input : json.at("inputs"))
    study.inputs.push_back(
        {input.at("file").get<std::string>(), input.at("sha256").get<std::string>()});
  for (const StudyJson& driver : json.at("drivers"))
    study.drivers.push_back({driver.at("name").get<std::string>(),
                             driver.at("reason").get<std::string>(),
                             driver.at("steps").get<std::vector<double>>()});
  json.at("factor").get_to(study.factor);
  json.at("independent").get_to(study.independent);
  for (const StudyJson& run : json.at("runs"))
    study.runs.push_back(runFrom(run));
  return study;
}

} // namespace

size_t MarginStudy::columns() const {
  return firstColumn(runs.size());
}

size_t MarginStudy::firstColumn(size_t run) const {
  size_t sum = 0;
  for (size_t i = 0; i < run; ++i)
    sum += runs[i].figures.measures.size();
  return sum;
}

std::string MarginStudy::asJson() const {
  StudyJson files = StudyJson::array();
  for (const Provenance::Input& input : inputs)
    files.push_back({{"file", input.path}, {"sha256", input.sha256}});
  StudyJson vary = StudyJson::array();
  for (const Driver& driver : drivers)
    vary.push_back({{"name", driver.name}, {"reason", driver.reason}, {"steps", driver.steps}});
  StudyJson all = StudyJson::array();
  for (const Run& run : runs)
    all.push_back(asJsonOf(run));
  const StudyJson json = {{"title", title},
                          {"seed", seed},
                          {"milliseconds", duration},
                          {"sobol_samples", sobolSamples},
                          {"replay", replay},
                          {"inputs", files},
                          {"drivers", vary},
                          {"factor", factor},
                          {"independent", independent},
                          {"runs", all}};
  return jsonText(json);
}

std::optional<MarginStudy> MarginStudy::fromJson(const std::string& text) {
  try {
    return studyFrom(parsedJson(text));
  } catch (const std::exception&) {
    return std::nullopt;
  }
}
