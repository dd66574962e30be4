#include "report/CsvTrace.h"

CsvTrace::CsvTrace(std::ostream& out, size_t runsBefore) : writer(out) {
  if (runsBefore == 0) writer << csv::header();
}

void CsvTrace::begin(const TraceDescription& description) {
  run = description;
  sensors.clear();
  for (const SensorTrack& sensor : run.sensors)
    sensors.emplace_back(csv::lineOf(run.name, sensor));
}

void CsvTrace::temperature(int64_t time, size_t sensor, int32_t millidegrees) {
  write(sensors[sensor], time, millidegrees);
}

void CsvTrace::level(int64_t time, size_t device, int32_t level, const std::string& entry) {
  write(csv::lineOf(run.name, run.devices[device], entry), time, level);
}

void CsvTrace::algorithm(int64_t time, size_t algorithm, int32_t level) {
  write(csv::lineOf(run.name, run.algorithms[algorithm]), time,
        level == kAsleep ? std::nullopt : std::optional<int64_t>(level));
}

void CsvTrace::power(int64_t time, size_t source, int64_t microwatts) {
  write(csv::lineOf(run.name, csv::kPower, run.sources[source]), time, microwatts);
}

void CsvTrace::scenario(int64_t time, const std::string& name) {
  write(csv::lineOf(run.name, csv::kScenario, name), time);
}

void CsvTrace::configuration(int64_t time, const std::string& name) {
  write(csv::lineOf(run.name, csv::kConfiguration, name), time);
}

void CsvTrace::gap(int64_t from, int64_t to, std::optional<size_t> sensor) {
  write(csv::lineOf(run.name, csv::kGap, sensor ? run.sensors[*sensor].name : ""), to, to - from);
}

void CsvTrace::standstill(int64_t time) {
  write(csv::lineOf(run.name, csv::kStandstill), time);
}

void CsvTrace::end(int64_t time, const std::vector<Performance>&) {
  write(csv::lineOf(run.name, csv::kEnd), time);
  writer.flush();
}

void CsvTrace::write(const csv::Frame& frame, int64_t time, std::optional<int64_t> value) {
  writer << frame.start << times.of(time) << frame.middle;
  if (value) writer << *value;
  writer << frame.end;
}
