#include "config/EnvParser.h"

#include "base/Int32.h"
#include "base/TextReader.h"
#include "device/DeviceKinds.h"
#include "sensor/Real.h"
#include "sensor/Virtual.h"
#include "thread/SensorThread.h"

namespace {

bool beginsQuoted(const std::string& word) {
  return word.front() == '"';
}
bool endsQuoted(const std::string& word) {
  return word.back() == '"';
}

// The text of a quoted entry whose first word is `joined`. A quote that is never closed takes the
// rest of the line.
std::string quotedEntry(std::string joined, std::istream& line) {
  std::string word = joined;
  while (!endsQuoted(word)) {
    if (!(line >> word)) return joined.substr(1);
    joined += " " + word;
  }
  return headerName(joined);
}

} // namespace

EnvParser::EnvParser(std::istream& in_, Daemon& board_) : in(in_), board(board_) {}

void EnvParser::parse() {
  while (!in.eof()) {
    if (getString(in, line) != 0) continue;
    std::string word;
    line >> word;
    if (word[0] != '[') return;
    const std::string name = headerName(word);
    // Whatever comes back: where the next line is blank, the rest of the header line stands in for
    // it.
    getString(in, line);
    line >> word;
    if (word != "type") return;
    std::string kind;
    line >> kind;
    parseSection(name, kind);
  }
}

void EnvParser::parseSection(const std::string& name, const std::string& kind) {
  if (kind == "real")
    parseReal(name);
  else if (kind == "virtual")
    parseVirtual(name);
  else if (kind == "conf_file")
    parseConfFile();
  else
    parseDevice(name, kind);
}

void EnvParser::parseReal(const std::string& name) {
  int32_t sampling = 1000;
  std::string nodePath;
  for (std::string key = nextKey(); !key.empty(); key = nextKey()) {
    if (key == "sampling")
      sampling = nextNumber();
    else if (key == "node_path")
      line >> nodePath;
  }
  Real* sensor = makeReal(name, static_cast<uint32_t>(sampling), nodePath);
  board.sensors[name] = sensor;
  SensorThread& worker = workerFor(sampling);
  worker.insert(sensor);
  sensor->thread = &worker;
  sensor->activate();
}

void EnvParser::parseVirtual(const std::string& name) {
  int32_t sampling = 1000;
  int32_t setPoint = 0;
  int32_t setPointClr = 0;
  int32_t math = 0;
  std::vector<Sensor*> sources;
  std::vector<int32_t> offsets;
  std::vector<int32_t> weights;
  Sensor* trip = nullptr;
  for (std::string key = nextKey(); !key.empty(); key = nextKey()) {
    std::string word;
    if (key == "sampling")
      sampling = nextNumber();
    else if (key == "set_point")
      setPoint = nextNumber();
    else if (key == "set_point_clr")
      setPointClr = nextNumber();
    else if (key == "math")
      math = nextNumber();
    else if (key == "offsets")
      appendNumbers(offsets);
    else if (key == "weights")
      appendNumbers(weights);
    else if (key == "sensors")
      // A name that no section above defines gets a null entry, and the sensor a null source.
      while (line >> word)
        sources.push_back(board.sensors[word]);
    else if (key == "trip_sensor") {
      line >> word;
      trip = board.sensors[word];
    }
  }
  SensorThread& worker = workerFor(sampling);
  auto* sensor = new Virtual(name, static_cast<uint32_t>(sampling), &worker, setPoint, setPointClr,
                             sources, math, offsets, weights);
  board.sensors[name] = sensor;
  worker.insert(sensor);
  if (auto* real = dynamic_cast<Real*>(trip)) real->insertVirtualSensor(sensor);
}

void EnvParser::parseConfFile() {
  for (std::string key = nextKey(); !key.empty(); key = nextKey()) {
    if (key == "file_name") line >> board.confFileName;
  }
}

void EnvParser::parseDevice(const std::string& name, const std::string& kind) {
  std::string nodePath;
  std::string type = "integer";
  std::vector<std::string> levels;
  for (std::string key = nextKey(); !key.empty(); key = nextKey()) {
    if (key == "node_path")
      line >> nodePath;
    else if (key == "level_table")
      appendLevels(levels, type);
  }
  if (Device* device = makeDevice(kind, name, nodePath, type, levels)) board.devices[name] = device;
}

Real* EnvParser::makeReal(const std::string& name, uint32_t sampling, const std::string& nodePath) {
  return new Real(name, sampling, nodePath);
}

Device* EnvParser::makeDevice(const std::string& kind, const std::string& name,
                              const std::string& nodePath, const std::string& type,
                              const std::vector<std::string>& levelTable) {
  const auto maker = deviceKinds().find(kind);
  return maker == deviceKinds().end() ? nullptr : maker->second(name, nodePath, type, levelTable);
}

void EnvParser::appendLevels(std::vector<std::string>& levels, std::string& type) {
  std::string word;
  while (line >> word) {
    if (beginsQuoted(word)) {
      levels.push_back(quotedEntry(word, line));
      type = "string";
      continue;
    }
    levels.push_back(word);
    if (word.find("0x") != std::string::npos)
      type = "hex";
    else if (word.find("0b") != std::string::npos)
      type = "bin";
  }
}

std::string EnvParser::nextKey() {
  std::string key;
  if (getString(in, line) == 0) line >> key;
  return key;
}

int32_t EnvParser::nextNumber() {
  std::string word;
  line >> word;
  return parseInt32(word);
}

void EnvParser::appendNumbers(std::vector<int32_t>& list) {
  std::string word;
  while (line >> word)
    list.push_back(parseInt32(word));
}

SensorThread& EnvParser::workerFor(int32_t period) {
  SensorThread*& worker = board.sensorThreads[period];
  if (!worker) worker = new SensorThread(period);
  return *worker;
}
