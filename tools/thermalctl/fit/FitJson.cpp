#include "fit/FitJson.h"

#include <algorithm>
#include <cmath>

#include <nlohmann/json.hpp>

#include "text/Json.h"

namespace {

using Json = nlohmann::ordered_json;

// One number of the plant:
//   {"name": "node.big.joules_per_kelvin", "unit": "J/K", "guess": 3.0, "value": 4.1,
//    "determined": true, "interval": [3.9, 4.3]}
// A number that kept its guess has null as its interval; one of which only a combination with such
// a one is known says by "depends_on" whose guess its interval holds for.
Json quantitiesOf(const FitResult& result) {
  Json all = Json::array();
  for (size_t i = 0; i < result.misfit->quantities.size(); ++i) {
    const Quantity& quantity = result.misfit->quantities[i];
    const Estimate& found = result.estimation->estimates[i];
    Json one = {{"name", quantity.name},
                {"unit", quantity.unit()},
                {"guess", quantity.guess},
                {"value", found.value},
                {"determined", !found.frozen && !found.follows}};
    one["interval"] = found.frozen ? Json(nullptr) : Json::array({found.low, found.high});
    if (found.follows) one["depends_on"] = result.misfit->quantities[*found.follows].name;
    all.push_back(std::move(one));
  }
  return all;
}

Json recordingsOf(const FitResult& result, const Misfit& misfit, const Estimation& estimation) {
  Json all = Json::array();
  for (size_t i = 0; i < misfit.recordings.size(); ++i) {
    Json sensors = Json::array();
    for (const Agreeing& one : estimation.agreement)
      if (one.recording == i)
        sensors.push_back({{"name", result.names[one.output]},
                           {"readings", one.readings},
                           {"rmse", one.rmse},
                           {"largest", one.largest}});
    Json clocks = Json::array();
    const std::vector<double> offsets = misfit.unknowns.offsetsOf(i, estimation.fit.values);
    for (size_t file = 0; file < offsets.size(); ++file)
      clocks.push_back(
          {{"file", misfit.recordings[i].files[file].name}, {"offset_seconds", offsets[file]}});
    all.push_back({{"name", misfit.recordings[i].name}, {"files", clocks}, {"sensors", sensors}});
  }
  return all;
}

Json correlationsOf(const Estimation& estimation) {
  Json all = Json::array();
  for (Eigen::Index i = 0; i < estimation.correlations.rows(); ++i) {
    Json row = Json::array();
    for (Eigen::Index j = 0; j < estimation.correlations.cols(); ++j)
      row.push_back(std::round(estimation.correlations(i, j) * 1000) / 1000);
    all.push_back(std::move(row));
  }
  return all;
}

} // namespace

std::vector<std::string> namesOfOutputs(const PlantDescription& plant,
                                        const TraceDescription& board) {
  std::vector<std::string> names;
  for (const PlantDescription::Probe& probe : plant.probes)
    names.push_back(board.sensors[probe.sensor].name);
  for (const PlantDescription::Node& node : plant.nodes)
    names.push_back("node:" + node.name);
  return names;
}

Agreeing overall(const std::vector<Agreeing>& agreement) {
  Agreeing all;
  for (const Agreeing& one : agreement) {
    all.readings += one.readings;
    // Weighted by readings: a sensor that was read ten times as often counts ten times.
    all.rmse += one.rmse * one.rmse * static_cast<double>(one.readings);
    all.largest = std::max(all.largest, one.largest);
  }
  if (all.readings > 0) all.rmse = std::sqrt(all.rmse / static_cast<double>(all.readings));
  return all;
}

void writeFitJson(const FitResult& result, std::ostream& out) {
  Json noise = Json::array();
  for (size_t i = 0; i < result.names.size(); ++i) {
    const bool read =
        std::any_of(result.estimation->agreement.begin(), result.estimation->agreement.end(),
                    [i](const Agreeing& one) { return one.output == i; });
    if (read)
      noise.push_back({{"name", result.names[i]},
                       {"noise", result.misfit->likelihoods[i].noise},
                       {"step", result.misfit->likelihoods[i].step}});
  }
  Json json = {{"complete", !result.estimation->fit.interrupted},
               {"quantities", quantitiesOf(result)},
               {"undetermined", result.undetermined},
               {"remarks", result.remarks},
               {"sensors", noise},
               {"recordings", recordingsOf(result, *result.misfit, *result.estimation)},
               {"correlations", correlationsOf(*result.estimation)}};
  if (result.validation)
    json["validation"] = recordingsOf(result, *result.validationMisfit, *result.validation);
  out << jsonText(json, 1) << "\n";
}
