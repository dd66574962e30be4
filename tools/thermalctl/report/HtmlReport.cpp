#include "report/HtmlReport.h"

#include <algorithm>
#include <cmath>
#include <iterator>
#include <string_view>

#include <nlohmann/json.hpp>

#include "report/Judgement.h"
#include "report/Page.h"
#include "text/Json.h"

NLOHMANN_JSON_SERIALIZE_ENUM(SensorTrack::Kind, {{SensorTrack::Kind::kReal, "real"},
                                                 {SensorTrack::Kind::kVirtual, "virtual"},
                                                 {SensorTrack::Kind::kPlantNode, "plant"}})

namespace {

// Of all temperatures of all runs; and of one, however many there are.
constexpr size_t kSamples = 212'000;
constexpr size_t kFewestSamples = 256;

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

Json describe(const std::string& source) {
  return {{"name", source}};
}

Json describe(const Performance& source) {
  return {{"source", source.source},
          {"demanded", source.demanded},
          {"delivered", source.delivered},
          {"joules", source.joules}};
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

template <typename Track, typename Course> Json describe(const Track& track, const Course& course) {
  Json json = describe(track);
  addCourse(json, course);
  return json;
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
  std::string text = jsonText(json);
  return text.find('<') == std::string::npos ? text : replaced(text, '<', "\\u003c");
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

void HtmlReport::power(int64_t time, size_t source, int64_t microwatts) {
  runs.back().powers[source].add(
      time, static_cast<int32_t>(std::lround(static_cast<double>(microwatts) / 1e3)));
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

void HtmlReport::end(int64_t time, const std::vector<Performance>&) {
  runs.back().duration = time;
}

void HtmlReport::figured(const RunFigures& figures) {
  runs.back().performance = figures.performance;
  runs.back().verdicts = figures.verdicts;
}

void HtmlReport::take(HtmlReport& other) {
  std::move(other.runs.begin(), other.runs.end(), std::back_inserter(runs));
  other.runs.clear();
}

void HtmlReport::putRun(const Run& run, const Put& put) {
  const TraceDescription& who = run.description;
  const auto member = [&put](const std::string& name, const Json& json) {
    put(",\"" + name + "\":" + dumped(json));
  };
  const auto list = [&put](const std::string& name, size_t count, const auto& at) {
    put(",\"" + name + "\":[");
    for (size_t i = 0; i < count; ++i)
      put((i == 0 ? "" : ",") + dumped(at(i)));
    put("]");
  };
  const auto names = [](const NameSeries& series) {
    return Json{{"names", series.names}, {"points", encoded(series.indices.points())}};
  };
  put("{\"name\":" + dumped(who.name));
  member("duration", run.duration);
  member("standstill", orNull(run.standstill));
  member("gaps", run.gaps);
  list("sensors", who.sensors.size(), [&](size_t i) {
    Json sensor = describe(who.sensors[i], run.temperatures[i]);
    if (!run.sensorGaps[i].empty()) sensor["gaps"] = run.sensorGaps[i];
    return sensor;
  });
  list("devices", who.devices.size(),
       [&](size_t i) { return describe(who.devices[i], run.levels[i]); });
  list("algorithms", who.algorithms.size(),
       [&](size_t i) { return describe(who.algorithms[i], run.algorithms[i]); });
  list("sources", who.sources.size(),
       [&](size_t i) { return describe(who.sources[i], run.powers[i]); });
  member("scenarios", names(run.scenarios));
  member("configurations", names(run.configurations));
  list("performance", run.performance.size(),
       [&](size_t i) { return describe(run.performance[i]); });
  list("verdicts", run.verdicts.size(), [&](size_t i) { return describe(run.verdicts[i]); });
  put("}");
}

template <typename Visit> void HtmlReport::forEachCourse(Visit visit) {
  for (Run& run : runs) {
    std::for_each(run.temperatures.begin(), run.temperatures.end(), visit);
    std::for_each(run.levels.begin(), run.levels.end(), visit);
    std::for_each(run.algorithms.begin(), run.algorithms.end(), visit);
    std::for_each(run.powers.begin(), run.powers.end(), visit);
  }
}

void HtmlReport::fit() {
  size_t room = kPageBytes;
  for (const std::string_view part : {page::kStyle, page::kBody, page::kDygraphs, page::kScript})
    room -= part.size();
  size_t longest = 0;
  forEachCourse([&](const auto& course) { longest = std::max(longest, course.size()); });
  // Whoever has the most points gives up half of them, again and again, until the page is small
  // enough to be sent around.
  for (;; longest /= 2) {
    forEachCourse([&](auto& course) { course.limitTo(longest); });
    size_t size = 0;
    for (const Run& run : runs)
      putRun(run, [&size](const std::string& text) { size += text.size(); });
    if (size <= room || longest < kFewestSamples / 8) return;
  }
}

void HtmlReport::write(std::ostream& out, bool traced) {
  fit();
  // The data stand in front of the scripts, which find them whole when they are run.
  out << "<!doctype html>\n<html lang=\"en\">\n<head>\n<meta charset=\"utf-8\">\n"
         "<meta name=\"viewport\" content=\"width=device-width, initial-scale=1\">\n<title>"
      << escapedForHtml(title) << "</title>\n<style>\n"
      << page::kStyle << "</style>\n</head>\n"
      << page::kBody << "<script type=\"application/json\" id=\"data\">{\"title\":" << dumped(title)
      << ",\"origin\":" << dumped(describe(origin)) << ",\"traced\":" << dumped(traced)
      << ",\"runs\":[";
  const char* separator = "\n";
  for (const Run& run : runs) {
    out << separator;
    putRun(run, [&out](const std::string& text) { out << text; });
    separator = ",\n";
  }
  out << "\n]}</script>\n<script>\n"
      << page::kDygraphs << "</script>\n<script>\n"
      << page::kScript << "</script>\n</body>\n</html>\n";
}
