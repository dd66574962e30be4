#include "report/EventTrace.h"

#include <fmt/format.h>

#include "text/Phrases.h"

namespace {

constexpr int64_t kMicroseconds = 1000; // in a millisecond

} // namespace

EventTrace::EventTrace(std::ostream& out, size_t runsBefore)
    : writer(out), first(runsBefore == 0), process(static_cast<int64_t>(runsBefore)) {
  if (first) writer << R"({"displayTimeUnit":"ms","traceEvents":[)";
}

void EventTrace::finish() {
  writer << "\n]}\n";
  writer.flush();
}

// The phases of the format: "M" names a process or a thread, "B" and "E" begin and end a slice,
// "X" is one whose length is known, "C" a counter, "i" an instant. A "B" has no name for its "E":
// a thread has one slice open at a time, which the next one ends.
void EventTrace::begin(const TraceDescription& run) {
  ++process;
  // By the threads' numbers; of a gap both ends are known when it is told.
  open.assign(kFirstAlgorithm + run.algorithms.size(), false);
  nameProcess(run.name);
  nameThread(kConfiguration, "configuration");
  nameThread(kScenario, "scenario");
  int64_t thread = kFirstAlgorithm;
  for (const AlgorithmTrack& algorithm : run.algorithms)
    nameThread(thread++, algorithm.name + " (" + algorithm.scenario + ")");
  sensors.clear();
  names.clear();
  for (const SensorTrack& sensor : run.sensors)
    names.push_back(sensor.name);
  // Some event always stands before the first sample.
  sampleStart = ",\n{\"ph\":\"C\",\"pid\":" + std::to_string(process) + ",\"ts\":";
  for (const SensorTrack& sensor : run.sensors)
    sensors.push_back(",\"name\":" +
                      jsonString(sensor.name + (sensor.kind == SensorTrack::Kind::kPlantNode
                                                    ? " of the plant, degrees C"
                                                    : ", degrees C")) +
                      ",\"args\":{\"value\":");
  devices.clear();
  for (const DeviceTrack& device : run.devices)
    devices.push_back(jsonString(device.name + ", level"));
  sources.clear();
  for (const std::string& source : run.sources)
    sources.push_back(jsonString(source + ", W"));
}

void EventTrace::temperature(int64_t time, size_t sensor, int32_t millidegrees) {
  writer << sampleStart << times.of(time * kMicroseconds) << sensors[sensor];
  writer.decimal(millidegrees) << "}}";
}

void EventTrace::level(int64_t time, size_t device, int32_t level, const std::string&) {
  event("C") << R"(,"ts":)" << time * kMicroseconds << R"(,"name":)" << devices[device]
             << R"(,"args":{"value":)" << level << "}}";
}

void EventTrace::algorithm(int64_t time, size_t algorithm, int32_t level) {
  const int64_t thread = kFirstAlgorithm + static_cast<int64_t>(algorithm);
  if (level == kAsleep)
    endSlice(time, thread);
  else
    slice(time, thread, "level " + std::to_string(level));
}

void EventTrace::power(int64_t time, size_t source, int64_t microwatts) {
  event("C") << R"(,"ts":)" << time * kMicroseconds << R"(,"name":)" << sources[source]
             << R"(,"args":{"value":)" << fmt::format("{}", static_cast<double>(microwatts) / 1e6)
             << "}}";
}

void EventTrace::scenario(int64_t time, const std::string& name) {
  slice(time, kScenario, name);
}

void EventTrace::configuration(int64_t time, const std::string& name) {
  slice(time, kConfiguration, name);
}

void EventTrace::gap(int64_t from, int64_t to, std::optional<size_t> sensor) {
  const std::string what = sensor ? "no sample: " + names[*sensor] : "gap";
  event("X") << R"(,"tid":)" << kGaps << R"(,"ts":)" << from * kMicroseconds << R"(,"dur":)"
             << (to - from) * kMicroseconds << R"(,"name":)" << jsonString(what) << "}";
}

void EventTrace::standstill(int64_t time) {
  event("i") << R"(,"tid":)" << kScenario << R"(,"s":"p","ts":)" << time * kMicroseconds
             << R"(,"name":"the daemon stands still"})";
}

void EventTrace::end(int64_t time, const std::vector<Performance>&) {
  // What is in force at the end is shown to be so up to there.
  for (size_t thread = 0; thread < open.size(); ++thread)
    endSlice(time, static_cast<int64_t>(thread));
  writer.flush();
}

Writer& EventTrace::event(const char* phase) {
  writer << (first ? "\n" : ",\n") << R"({"ph":")" << phase << R"(","pid":)" << process;
  first = false;
  return writer;
}

void EventTrace::nameProcess(const std::string& name) {
  event("M") << R"(,"name":"process_name","args":{"name":)" << jsonString(name) << "}}";
}

void EventTrace::nameThread(int64_t thread, const std::string& name) {
  event("M") << R"(,"tid":)" << thread << R"(,"name":"thread_name","args":{"name":)"
             << jsonString(name) << "}}";
  event("M") << R"(,"tid":)" << thread << R"(,"name":"thread_sort_index","args":{"sort_index":)"
             << thread << "}}";
}

void EventTrace::slice(int64_t time, int64_t thread, const std::string& name) {
  endSlice(time, thread);
  open[static_cast<size_t>(thread)] = true;
  event("B") << R"(,"tid":)" << thread << R"(,"ts":)" << time * kMicroseconds << R"(,"name":)"
             << jsonString(name) << "}";
}

void EventTrace::endSlice(int64_t time, int64_t thread) {
  if (!open[static_cast<size_t>(thread)]) return;
  open[static_cast<size_t>(thread)] = false;
  event("E") << R"(,"tid":)" << thread << R"(,"ts":)" << time * kMicroseconds << "}";
}
