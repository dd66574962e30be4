#include "core/ThermalMain.h"

#include <unistd.h>

#include <cstdlib>
#include <fstream>
#include <functional>
#include <optional>
#include <sstream>

#include "base/Log.h"
#include "base/Names.h"
#include "base/TextReader.h"
#include "config/ConfParser.h"
#include "config/EnvParser.h"
#include "thread/MonitorThread.h"
#include "thread/SSThread.h"
#include "thread/ScenarioThread.h"
#include "thread/SensorThread.h"

namespace {

constexpr char kScenarioThreadName[] = "ScenarioThread";

std::string below(const char* name) {
  return std::string(kDataDirectory) + name;
}

// `slot` is looked up before the thread starts, and `started` set: a scenario thread may change the
// registry, or ask for new threads itself, from its first moment.
template <typename Worker> void startUnlessRunning(Worker& worker, std::thread*& slot) {
  if (worker.started) return;
  worker.started = true;
  slot = new std::thread(std::ref(worker));
}

} // namespace

ThermalMain::ThermalMain(const std::string& confPath_, const std::string& envPath_)
    : ThermalMain(Paths{confPath_, envPath_, below(kConfigurationFolder), below(kRequestFile),
                        below(kScenarioFile)}) {
  // The entry is made and found before any thread runs. From then on the map belongs to the
  // scenario thread, and this thread looks at nothing in it but this entry, which is never erased.
  std::thread* const& scenario = threads[kScenarioThreadName];
  runThreads();
  // The sensor threads and the scenario thread never end, so waiting for one of them is waiting for
  // all. A worker of algorithms may be retired and is the scenario thread's to join.
  scenario->join();
  LOG_LINE(message::kThreadsEnded);
}

ThermalMain::ThermalMain(const Paths& paths)
    : confPath(paths.conf), envPath(paths.env), confDir(paths.confDir) {
  LOG_LINE(message::kStarting);
  readEnvironment();
  LOG_LINE(message::kEnvironmentRead);
  installConfiguration();
  confParse();
  LOG_LINE(message::kConfigurationRead);
  prepareScenarioThread(paths);
  LOG_LINE(message::kScenarioReady);
}

void ThermalMain::readEnvironment() {
  const std::optional<std::string> content = readFile(envPath);
  // Without its environment the daemon has nothing to do and never gets past this point; asleep,
  // not spinning.
  while (!content)
    ::pause();
  std::istringstream in(*content);
  EnvParser(in, *this).parse();
}

void ThermalMain::installConfiguration() {
  if (findConfFile(confFileName)) return;
  const std::string destination = confDir + confFileName;
  std::ifstream from(confPath, std::ios::binary);
  std::ofstream to(destination, std::ios::binary);
  if (!from.is_open()) {
    LOG_LINE(message::kNotCopied, confPath.c_str());
    return;
  }
  if (!to.is_open()) {
    LOG_LINE(message::kNotCopied, destination.c_str());
    return;
  }
  to << from.rdbuf();
  from.close();
  to.close();
  LOG_LINE(message::kCopied, confPath.c_str(), destination.c_str());
  // A copy that a full disk cut short would be taken for the configuration at every later start,
  // too. Without it the factory file is read, and the next start copies anew.
  if (readFile(destination) != readFile(confPath)) ::unlink(destination.c_str());
}

void ThermalMain::prepareScenarioThread(const Paths& paths) {
  scenarioThread = new ScenarioThread();
  scenarioThread->dconfPath = paths.dconf;
  scenarioThread->writeToFile(paths.dconf, kParsed);
  scenarioThread->scenPath = paths.scen;
  scenarioThread->writeToFile(paths.scen, kDefaultScenario);
  scenarioThread->owner = this;
  for (const auto& [period, worker] : sensorThreads)
    worker->scenarioThread = scenarioThread;
}

void ThermalMain::runThreads() {
  for (const auto& [period, worker] : sensorThreads)
    startUnlessRunning(*worker, threads[std::to_string(period)]);
  for (const auto& [name, worker] : ssThreads)
    startUnlessRunning(*worker, threads[name]);
  for (const auto& [name, worker] : monitorThreads)
    startUnlessRunning(*worker, threads[name]);
  startUnlessRunning(*scenarioThread, threads[kScenarioThreadName]);
}

bool ThermalMain::findConfFile(const std::string& name) const {
  return std::ifstream(confDir + name).is_open();
}

void ThermalMain::confParse() {
  parseFirstReadable({confFileName});
}

void ThermalMain::dynamicConfParse(const std::string& name) {
  parseFirstReadable({name, confFileName});
  runThreads();
}

void ThermalMain::parseFirstReadable(const std::vector<std::string>& names) {
  std::istringstream in(readConfiguration(names));
  const ConfParser::Registries registries{sensors, devices, ssThreads, monitorThreads, scenarios};
  const std::optional<std::string> error = ConfParser(in, registries).parse();
  if (!error) return;
  LOG_LINE(message::kParseFailure, error->c_str());
  // Workers may be running: nothing is torn down under them.
  std::_Exit(EXIT_SUCCESS);
}

std::string ThermalMain::readConfiguration(const std::vector<std::string>& names) {
  const auto readOrReport = [](const std::string& path) {
    std::optional<std::string> content = readFile(path);
    if (!content) LOG_LINE(message::kUnreadable, path.c_str());
    return content;
  };
  for (const std::string& name : names) {
    if (std::optional<std::string> content = readOrReport(confDir + name)) {
      confFileName = name;
      return *content;
    }
  }
  return readOrReport(confPath).value_or("");
}
