#include "report/CsvTrace.h"

#include "trace/CsvFormat.h"

CsvTrace::CsvTrace(std::ostream& out) : writer(out) {
  writer << csv::kHeader;
}

void CsvTrace::begin(const TraceDescription& description) {
  run = csv::field(description.name) + ",";
  sensors.clear();
  for (const SensorTrack& sensor : description.sensors) {
    const bool node = sensor.kind == SensorTrack::Kind::kPlantNode;
    sensors.push_back(csv::between(node ? csv::kPlant : csv::kTemperature, sensor.name));
  }
  devices.clear();
  for (const DeviceTrack& device : description.devices)
    devices.push_back(csv::between(csv::kLevel, device.name));
  algorithms.clear();
  scenarios.clear();
  for (const AlgorithmTrack& algorithm : description.algorithms) {
    algorithms.push_back(csv::between(csv::kAlgorithm, algorithm.name));
    scenarios.push_back(csv::field(algorithm.scenario));
  }
}

void CsvTrace::temperature(int64_t time, size_t sensor, int32_t millidegrees) {
  line(time) << sensors[sensor] << millidegrees << ",\n";
}

void CsvTrace::level(int64_t time, size_t device, int32_t level, const std::string& entry) {
  line(time) << devices[device] << level << "," << csv::field(entry) << "\n";
}

void CsvTrace::algorithm(int64_t time, size_t algorithm, int32_t level) {
  line(time) << algorithms[algorithm];
  if (level != kAsleep) writer << level;
  writer << "," << scenarios[algorithm] << "\n";
}

void CsvTrace::scenario(int64_t time, const std::string& name) {
  line(time) << csv::between(csv::kScenario, name) << ",\n";
}

void CsvTrace::configuration(int64_t time, const std::string& name) {
  line(time) << csv::between(csv::kConfiguration, name) << ",\n";
}

void CsvTrace::end(int64_t time, const std::vector<Performance>&) {
  line(time) << csv::between(csv::kEnd, "") << ",\n";
  writer.flush();
}

Writer& CsvTrace::line(int64_t time) {
  return writer << run << time;
}
