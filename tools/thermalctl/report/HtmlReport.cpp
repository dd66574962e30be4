#include "report/HtmlReport.h"

#include <algorithm>
#include <string_view>

#include <nlohmann/json.hpp>

#include "report/Page.h"

NLOHMANN_JSON_SERIALIZE_ENUM(SensorTrack::Kind, {{SensorTrack::Kind::kReal, "real"},
                                                 {SensorTrack::Kind::kVirtual, "virtual"},
                                                 {SensorTrack::Kind::kPlantNode, "plant"}})

namespace {

// Of all temperatures of all runs.
constexpr size_t kSamples = 1 << 19;
constexpr size_t kFewestSamples = 64;

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

void addCourse(Json& track, const Series& course) {
  track["points"] = encoded(course.points());
  track["stretch"] = course.stretch();
}

void addCourse(Json& track, const Envelope& course) {
  track["points"] = course.encoded();
  track["stretch"] = course.stretch();
}

template <typename Track, typename Course>
Json describeAll(const std::vector<Track>& tracks, const std::vector<Course>& courses) {
  Json all = Json::array();
  for (size_t i = 0; i < tracks.size(); ++i) {
    Json track = describe(tracks[i]);
    addCourse(track, courses[i]);
    all.push_back(std::move(track));
  }
  return all;
}

Json describe(const Provenance& origin) {
  Json inputs = Json::array();
  for (const Provenance::Input& input : origin.inputs)
    inputs.push_back({{"path", input.path}, {"sha256", input.sha256}});
  return {{"command", origin.command},
          {"version", origin.version},
          {"date", origin.date},
          {"seed", origin.seed},
          {"inputs", inputs}};
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
  size_t courses = run.sensors.size();
  for (const Run& earlier : runs)
    courses += earlier.temperatures.size();
  const size_t share = std::max(kFewestSamples, kSamples / std::max<size_t>(1, courses));
  for (Run& earlier : runs) {
    for (Envelope& course : earlier.temperatures)
      course.limitTo(share);
  }
  runs.emplace_back(run, share);
  for (size_t i = 0; i < run.sensors.size(); ++i) {
    if (run.sensors[i].limit) runs.back().limited[i];
  }
}

void HtmlReport::temperature(int64_t time, size_t sensor, int32_t millidegrees) {
  Run& run = runs.back();
  run.temperatures[sensor].add(time, millidegrees);
  const auto limited = run.limited.find(sensor);
  if (limited == run.limited.end()) return;
  Watch& watch = limited->second;
  watch.record.set(time, millidegrees);
  if (!watch.firstAbove && millidegrees > *run.description.sensors[sensor].limit)
    watch.firstAbove = time;
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
  for (auto& [index, watch] : run.limited) {
    if (!sensor || index == *sensor) watch.record.skip(from, to);
  }
}

void HtmlReport::standstill(int64_t time) {
  runs.back().standstill = time;
}

void HtmlReport::end(int64_t time, const std::vector<Performance>& performance) {
  Run& run = runs.back();
  run.duration = time;
  run.performance = performance;
  for (auto& [index, watch] : run.limited)
    watch.record.finish(time);
}

std::string HtmlReport::asJson(const Run& run) {
  const auto course = [](const NameSeries& series) {
    return Json{{"names", series.names}, {"points", encoded(series.indices.points())}};
  };
  Json sensors = describeAll(run.description.sensors, run.temperatures);
  for (size_t i = 0; i < sensors.size(); ++i) {
    if (!run.sensorGaps[i].empty()) sensors[i]["gaps"] = run.sensorGaps[i];
  }
  for (const auto& [index, watch] : run.limited) {
    if (watch.record.empty()) continue;
    const int32_t limit = *run.description.sensors[index].limit;
    sensors[index]["peak"] = watch.record.highest();
    sensors[index]["above"] = watch.record.total() - watch.record.atMost(limit);
    sensors[index]["firstAbove"] = orNull(watch.firstAbove);
  }
  Json performance = Json::array();
  for (const Performance& source : run.performance)
    performance.push_back({{"source", source.source},
                           {"demanded", source.demanded},
                           {"delivered", source.delivered}});
  return dumped({{"name", run.description.name},
                 {"duration", run.duration},
                 {"standstill", orNull(run.standstill)},
                 {"gaps", run.gaps},
                 {"sensors", sensors},
                 {"devices", describeAll(run.description.devices, run.levels)},
                 {"algorithms", describeAll(run.description.algorithms, run.algorithms)},
                 {"scenarios", course(run.scenarios)},
                 {"configurations", course(run.configurations)},
                 {"performance", performance}});
}

template <typename Visit> void HtmlReport::forEachCourse(Visit visit) {
  for (Run& run : runs) {
    std::for_each(run.temperatures.begin(), run.temperatures.end(), visit);
    std::for_each(run.levels.begin(), run.levels.end(), visit);
    std::for_each(run.algorithms.begin(), run.algorithms.end(), visit);
  }
}

std::vector<std::string> HtmlReport::fitting() {
  size_t room = kPageBytes;
  for (const std::string_view part : {page::kStyle, page::kBody, page::kDygraphs, page::kScript})
    room -= part.size();
  size_t longest = 0;
  forEachCourse([&](const auto& course) { longest = std::max(longest, course.size()); });
  for (;; longest /= 2) {
    forEachCourse([&](auto& course) { course.limitTo(longest); });
    std::vector<std::string> texts;
    size_t size = 0;
    for (const Run& run : runs)
      size += texts.emplace_back(asJson(run)).size();
    if (size <= room || longest <= kFewestSamples) return texts;
  }
}

void HtmlReport::write(std::ostream& out) {
  // The data stand in front of the scripts, which find them whole when they are run.
  out << "<!doctype html>\n<html lang=\"en\">\n<head>\n<meta charset=\"utf-8\">\n"
         "<meta name=\"viewport\" content=\"width=device-width, initial-scale=1\">\n<title>"
      << escapedForHtml(title) << "</title>\n<style>\n"
      << page::kStyle << "</style>\n</head>\n"
      << page::kBody << "<script type=\"application/json\" id=\"data\">{\"title\":" << dumped(title)
      << ",\"origin\":" << dumped(describe(origin)) << ",\"runs\":[";
  const char* separator = "\n";
  for (const std::string& run : fitting()) {
    out << separator << run;
    separator = ",\n";
  }
  out << "\n]}</script>\n<script>\n"
      << page::kDygraphs << "</script>\n<script>\n"
      << page::kScript << "</script>\n</body>\n</html>\n";
}
