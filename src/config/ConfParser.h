#pragma once

#include <cstdint>
#include <istream>
#include <map>
#include <memory>
#include <optional>
#include <sstream>
#include <string>
#include <vector>

#include "base/Names.h"
#include "thread/Scenario.h"

class Device;
class MonitorThread;
class SSThread;
class Sensor;

// Reads an algorithm configuration and builds its items, their workers and the scenarios.
//
// Shape:   items, each a header line, a type line and property lines up to a blank line or "]";
//          scenario lines between them. One word serves every extraction: where a line is blank or
//          used up, the word read before it stands in for the missing one, and the format counts
//          on that.
// Errors:  the first error ends the reading; what was built up to there stays.
// Threads: none of its own. It adds to the lists of running workers, and to those that sensors walk
//          where a file declares a scenario under the retired name of the one in force.
class ConfParser {
public:
  // What the items refer to and what the reading fills. Nothing of it is owned.
  struct Registries {
    std::map<std::string, Sensor*>& sensors;
    std::map<std::string, Device*>& devices;
    std::map<std::string, SSThread*>& ssThreads;
    std::map<std::string, MonitorThread*>& monitorThreads;
    std::map<std::string, Scenario*>& scenarios;
  };

  ConfParser(std::istream& in, const Registries& registries);

  // Reads everything and then replaces `scenarios`, or returns what the log says of the error that
  // ended the reading.
  std::optional<std::string> parse();

private:
  struct Item {
    std::string name;
    Sensor* sensor = nullptr;
    Device* device = nullptr;
    uint32_t sampling = 1000;
    bool lowactive = false;
    std::vector<int32_t> thresholds;
    std::vector<int32_t> thresholdsClr;
    std::vector<std::vector<Device*>> actions;
    std::vector<std::vector<int32_t>> actionInfo;
    int32_t setPoint = 0;
    int32_t setPointClr = 0;
    int32_t startLevel = 0;
    int32_t devicePerfFloor = INT32_MAX;
    uint32_t timeTickTrigger = 0;
  };
  using KeyTable = std::map<std::string, void (*)(ConfParser&, Item&)>;

  static const KeyTable& monitorKeys();
  static const KeyTable& ssKeys();

  std::optional<std::string> parseItem();
  void enterScenario();
  void parseProperties(Item& item, const KeyTable& keys);
  std::optional<std::string> buildMonitor(const Item& item);
  std::optional<std::string> buildSS(const Item& item);

  const std::string& nextWord();
  int32_t nextNumber();
  void appendNumbers(std::vector<int32_t>& list);
  // Appends a row for each remaining word and adds `convert(piece)` for each of the pieces that "+"
  // joins. Rows are addressed by the word's position on its line, so a second line adds its pieces
  // to the first line's rows.
  template <typename T, typename Convert>
  void appendRows(std::vector<std::vector<T>>& rows, Convert convert);

  std::istream& in;
  Registries registries;
  std::stringstream line;
  std::string word;
  std::string scenarioName{kDefaultScenario};
  std::map<std::string, std::unique_ptr<Scenario>> scenarios;
};
