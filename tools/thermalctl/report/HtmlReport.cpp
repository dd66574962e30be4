#include "report/HtmlReport.h"

#include <algorithm>
#include <string_view>

#include <nlohmann/json.hpp>

#include "report/Judgement.h"
#include "report/Page.h"

NLOHMANN_JSON_SERIALIZE_ENUM(SensorTrack::Kind, {{SensorTrack::Kind::kReal, "real"},
                                                 {SensorTrack::Kind::kVirtual, "virtual"},
                                                 {SensorTrack::Kind::kPlantNode, "plant"}})

namespace {

// Keeps the order in which members are added.
using Json = nlohmann::ordered_json;

template <typename T> Json orNull(const std::optional<T>& value) {
  return value ? Json(*value) : Json(nullptr);
}

Json describe(const SensorTrack& sensor) {
  return {{"name", sensor.name},
          {"kind", sensor.kind},
          {"period", orNull(sensor.period)},
          {"limit", orNull(sensor.limit)}};
}

Json describe(const DeviceTrack& device) {
  return {{"name", device.name}, {"kind", device.kind}, {"levels", device.levels}};
}

Json describe(const AlgorithmTrack& algorithm) {
  Json thresholds = Json::array();
  for (const AlgorithmTrack::Threshold& threshold : algorithm.thresholds)
    thresholds.push_back(Json::array({threshold.reached, threshold.cleared}));
  return {{"name", algorithm.name},
          {"configuration", algorithm.configuration},
          {"scenario", algorithm.scenario},
          {"kind", algorithm.kind == AlgorithmTrack::Kind::kMonitor ? "monitor" : "ss"},
          {"sensor", orNull(algorithm.sensor)},
          {"devices", algorithm.devices},
          {"thresholds", thresholds},
          {"lowactive", algorithm.lowactive}};
}

// Which budget, of what, and all that came of it.
Json describe(const Verdict& verdict) {
  Json json = {{"budget", textOf(verdict.budget)},
               {"label", labelOf(verdict.budget)},
               {"cell", cellOf(verdict)},
               {"name", verdict.budget.name},
               {"plant", verdict.budget.ofNode}};
  json.update(asJson(verdict));
  return json;
}

template <typename Track>
Json describeAll(const std::vector<Track>& tracks, const std::vector<Series>& courses) {
  Json all = Json::array();
  for (size_t i = 0; i < tracks.size(); ++i) {
    Json track = describe(tracks[i]);
    track["points"] = encoded(courses[i].points());
    track["thinned"] = courses[i].thinned();
    all.push_back(std::move(track));
  }
  return all;
}

std::string replaced(const std::string& text, char character, const char* sign) {
  std::string result;
  for (const char each : text) {
    if (each == character)
      result += sign;
    else
      result += each;
  }
  return result;
}

std::string dumped(const Json& json) {
  // Inside a script element, which a text could otherwise end. A "<" is in strings alone, where the
  // escape means the same.
  return replaced(json.dump(-1, ' ', false, Json::error_handler_t::replace), '<', "\\u003c");
}

std::string escapedForHtml(const std::string& text) {
  return replaced(replaced(text, '&', "&amp;"), '<', "&lt;");
}

} // namespace

void HtmlReport::NameSeries::add(int64_t time, const std::string& name) {
  // A run has a handful of names.
  const auto known = std::find(names.begin(), names.end(), name);
  indices.add(time, static_cast<int32_t>(known - names.begin()));
  if (known == names.end()) names.push_back(name);
}

void HtmlReport::begin(const TraceDescription& run) {
  runs.emplace_back(run);
}

void HtmlReport::temperature(int64_t time, size_t sensor, int32_t millidegrees) {
  runs.back().temperatures[sensor].add(time, millidegrees);
}

void HtmlReport::level(int64_t time, size_t device, int32_t level, const std::string&) {
  runs.back().levels[device].add(time, level);
}

void HtmlReport::algorithm(int64_t time, size_t algorithm, int32_t level) {
  runs.back().algorithms[algorithm].add(time, level);
}

void HtmlReport::scenario(int64_t time, const std::string& name) {
  runs.back().scenarios.add(time, name);
}

void HtmlReport::configuration(int64_t time, const std::string& name) {
  runs.back().configurations.add(time, name);
}

void HtmlReport::gap(int64_t from, int64_t to, std::optional<size_t> sensor) {
  Run& run = runs.back();
  (sensor ? run.sensorGaps[*sensor] : run.gaps).emplace_back(from, to);
}

void HtmlReport::standstill(int64_t time) {
  runs.back().standstill = time;
}

void HtmlReport::end(int64_t time, const std::vector<Performance>& performance) {
  runs.back().duration = time;
  runs.back().performance = performance;
}

std::string HtmlReport::asJson(const Run& run) {
  const auto course = [](const NameSeries& series) {
    return Json{{"names", series.names}, {"points", encoded(series.indices.points())}};
  };
  Json sensors = describeAll(run.description.sensors, run.temperatures);
  for (size_t i = 0; i < sensors.size(); ++i) {
    if (!run.sensorGaps[i].empty()) sensors[i]["gaps"] = run.sensorGaps[i];
  }
  Json performance = Json::array();
  for (const Performance& source : run.performance)
    performance.push_back({{"source", source.source},
                           {"demanded", source.demanded},
                           {"delivered", source.delivered}});
  Json verdicts = Json::array();
  for (const Verdict& verdict : run.verdicts)
    verdicts.push_back(describe(verdict));
  return dumped({{"name", run.description.name},
                 {"duration", run.duration},
                 {"standstill", orNull(run.standstill)},
                 {"gaps", run.gaps},
                 {"sensors", sensors},
                 {"devices", describeAll(run.description.devices, run.levels)},
                 {"algorithms", describeAll(run.description.algorithms, run.algorithms)},
                 {"scenarios", course(run.scenarios)},
                 {"configurations", course(run.configurations)},
                 {"performance", performance},
                 {"verdicts", verdicts}});
}

void HtmlReport::write(std::ostream& out) const {
  // The data stand in front of the scripts, which find them whole when they are run.
  out << "<!doctype html>\n<html lang=\"en\">\n<head>\n<meta charset=\"utf-8\">\n"
         "<meta name=\"viewport\" content=\"width=device-width, initial-scale=1\">\n<title>"
      << escapedForHtml(title) << "</title>\n<style>\n"
      << page::kStyle << "</style>\n</head>\n"
      << page::kBody << "<script type=\"application/json\" id=\"data\">{\"title\":" << dumped(title)
      << ",\"runs\":[";
  const char* separator = "\n";
  for (const Run& run : runs) {
    out << separator << asJson(run);
    separator = ",\n";
  }
  out << "\n]}</script>\n<script>\n"
      << page::kDygraphs << "</script>\n<script>\n"
      << page::kScript << "</script>\n</body>\n</html>\n";
}
