#pragma once

#include <cstdint>
#include <istream>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "base/Int32.h"
#include "base/Names.h"
#include "base/TextReader.h"
#include "config/ConfGrammar.h"
#include "config/ItemFields.h"
#include "thread/Scenario.h"

class Device;
class MonitorThread;
class SSThread;
class Sensor;

// Reads an algorithm configuration and builds its items, their workers and the scenarios.
//
// Shape:   what `readItem` makes of the lines, and what `visitKeys` has of keys.
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

  // What the log says of a failure; the name is that of the item that lacks a property.
  static std::string messageOf(ConfError::Failure failure, const std::string& itemName);

private:
  struct Values {
    using Sensor = ::Sensor*;
    using Device = ::Device*;
    using Number = int32_t;
    using Flag = bool;
    using DeviceRow = std::vector<::Device*>;
    using LevelRow = std::vector<int32_t>;
  };
  struct Item : ItemFields<Values> {
    std::string name;
    ItemKind kind = ItemKind::kNone;
  };

  // The parts of an item, for the grammar.
  template <typename Text, typename Parts> friend void readProperties(Text& text, Parts& parts);
  template <typename Text, typename Parts>
  friend std::optional<ConfError::Failure> readItem(Text& text, Parts& parts);
  void leaveScenario();
  void enterScenario();
  void beginItem();
  bool takeKind();
  void takeProperty();
  std::optional<ConfError::Failure> endItem();

  std::optional<ConfError::Failure> buildMonitor();
  std::optional<ConfError::Failure> buildSS();
  template <typename Worker>
  Worker& workerFor(std::map<std::string, Worker*>& workers, uint32_t sampling);

  const std::string& nextWord();
  // Each takes what stands behind a key for its field.
  void take(Sensor*& sensor) { sensor = registries.sensors[nextWord()]; }
  void take(Device*& device) { device = registries.devices[nextWord()]; }
  void take(int32_t& number) { number = parseInt32(nextWord()); }
  void take(bool& flag) { flag = nextWord() == "true"; }
  void take(std::vector<int32_t>& list);
  void take(std::vector<std::vector<Device*>>& rows);
  void take(std::vector<std::vector<int32_t>>& rows);
  // Appends a row for each remaining word and adds `convert(piece)` for each of the pieces that "+"
  // joins. Rows are addressed by the word's position on its line, so a second line adds its pieces
  // to the first line's rows.
  template <typename T, typename Convert>
  void appendRows(std::vector<std::vector<T>>& rows, Convert convert);

  TextReader text;
  Registries registries;
  Item item;
  std::string scenarioName{kDefaultScenario};
  std::map<std::string, std::unique_ptr<Scenario>> scenarios;
};
