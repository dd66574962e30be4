#pragma once

#include <string>
#include <vector>

#include "thread/Daemon.h"

class ScenarioThread;

// The daemon of a device: the start-up sequence and the life of the process.
//
// Errors:  an error in the configuration ends the process with status 0, at start-up and later
//          alike.
// Threads: start-up runs on the main thread alone.
class ThermalMain : public Daemon {
public:
  // Starts the daemon on the given files and stays for the life of the process.
  ThermalMain(const std::string& confPath, const std::string& envPath);

  // Starts a thread for every worker that has none yet.
  void runThreads();

  // Whether a file of that name opens in the configuration directory. The name is joined as it
  // stands.
  bool findConfFile(const std::string& name) const override;

  // Reads the configuration in force; if that cannot be read, the factory's.
  void confParse();

  // Reads the file of that name in the configuration directory; if that cannot be read, the
  // configuration in force once more.
  void dynamicConfParse(const std::string& name) override;

  std::string confPath; // the factory configuration
  std::string envPath;
  std::string confDir; // ends in "/"
  ScenarioThread* scenarioThread = nullptr;

protected:
  // Where the daemon's files are.
  struct Paths {
    std::string conf;
    std::string env;
    std::string confDir;
    std::string dconf;
    std::string scen;
  };

  // The whole start-up up to the point where the threads would start: a board that can be driven
  // pass by pass.
  explicit ThermalMain(const Paths& paths);

private:
  void readEnvironment();
  void installConfiguration();
  void prepareScenarioThread(const Paths& paths);
  void parseFirstReadable(const std::vector<std::string>& names);
  // The content of the first file of the configuration directory that can be read, whose name then
  // is `confFileName`; failing all of them that of the factory file; failing that, too, nothing.
  std::string readConfiguration(const std::vector<std::string>& names);
};
