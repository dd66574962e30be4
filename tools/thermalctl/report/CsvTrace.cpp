#include "report/CsvTrace.h"

CsvTrace::CsvTrace(std::ostream& out) : writer(out) {
  writer << "run,time_ms,event,name,value,detail\n";
}

void CsvTrace::begin(const TraceDescription& description) {
  run = csvField(description.name) + ",";
  sensors.clear();
  for (const SensorTrack& sensor : description.sensors) {
    const bool node = sensor.kind == SensorTrack::Kind::kPlantNode;
    sensors.push_back((node ? ",plant," : ",temperature,") + csvField(sensor.name) + ",");
  }
  devices.clear();
  for (const DeviceTrack& device : description.devices)
    devices.push_back(",level," + csvField(device.name) + ",");
  algorithms.clear();
  scenarios.clear();
  for (const AlgorithmTrack& algorithm : description.algorithms) {
    algorithms.push_back(",algorithm," + csvField(algorithm.name) + ",");
    scenarios.push_back(csvField(algorithm.scenario));
  }
}

void CsvTrace::temperature(int64_t time, size_t sensor, int32_t millidegrees) {
  line(time) << sensors[sensor] << millidegrees << ",\n";
}

void CsvTrace::level(int64_t time, size_t device, int32_t level, const std::string& entry) {
  line(time) << devices[device] << level << "," << csvField(entry) << "\n";
}

void CsvTrace::algorithm(int64_t time, size_t algorithm, int32_t level) {
  line(time) << algorithms[algorithm];
  if (level != kAsleep) writer << level;
  writer << "," << scenarios[algorithm] << "\n";
}

void CsvTrace::scenario(int64_t time, const std::string& name) {
  line(time) << ",scenario," << csvField(name) << ",,\n";
}

void CsvTrace::configuration(int64_t time, const std::string& name) {
  line(time) << ",configuration," << csvField(name) << ",,\n";
}

void CsvTrace::end(int64_t time, const std::vector<Performance>&) {
  line(time) << ",end,,,\n";
  writer.flush();
}

Writer& CsvTrace::line(int64_t time) {
  return writer << run << time;
}
