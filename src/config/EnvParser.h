#pragma once

#include <istream>
#include <sstream>
#include <string>
#include <vector>

#include "thread/Daemon.h"

class Real;

// Reads the environment file and builds the board: sensors, their workers and devices.
//
// Shape:   sections, each a header line, a "type" line directly below it and key lines up to a
//          blank line.
// Errors:  none is reported. A header or type line that is none ends the reading; what was built up
//          to there stays.
// Source:  "/vendor/etc/talmor-thermal.env", once, before any worker runs.
class EnvParser {
public:
  // Fills `sensors`, `sensorThreads`, `devices` and `confFileName` of `board`.
  EnvParser(std::istream& in, Daemon& board);
  virtual ~EnvParser() = default;

  void parse();

protected:
  // The only places where something with a node is made: here, of what the section says.
  virtual Real* makeReal(const std::string& name, uint32_t sampling, const std::string& nodePath);
  // Null for a kind that is none.
  virtual Device* makeDevice(const std::string& kind, const std::string& name,
                             const std::string& nodePath, const std::string& type,
                             const std::vector<std::string>& levelTable);

private:
  void parseSection(const std::string& name, const std::string& kind);
  void parseReal(const std::string& name);
  void parseVirtual(const std::string& name);
  void parseConfFile();
  void parseDevice(const std::string& name, const std::string& kind);

  // The next key of the section, or an empty word at its end.
  std::string nextKey();
  int32_t nextNumber();
  void appendNumbers(std::vector<int32_t>& list);
  void appendLevels(std::vector<std::string>& levels, std::string& type);

  SensorThread& workerFor(int32_t period);

  std::istream& in;
  Daemon& board;
  std::stringstream line;
};
