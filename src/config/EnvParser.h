#pragma once

#include <istream>
#include <string>
#include <vector>

#include "base/Int32.h"
#include "base/TextReader.h"
#include "config/EnvGrammar.h"
#include "config/SectionFields.h"
#include "thread/Daemon.h"

class Real;

// The kind that a word behind "type" names, in its own spelling alone.
SectionKind sectionKind(const std::string& word);
// Those words, of all kinds.
std::vector<std::string> sectionKindWords();

// Reads the environment file and builds the board: sensors, their workers and devices.
//
// Shape:   what `readSection` makes of the lines, and what `visitKeys` has of keys.
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
  virtual Device* makeDevice(const std::string& kind, const std::string& name,
                             const std::string& nodePath, const std::string& type,
                             const std::vector<std::string>& levelTable);

private:
  // An entry of a level table.
  struct Level {
    std::string text; // without quotes
    bool quoted;
  };
  struct Values {
    using Number = int32_t;
    using Text = std::string;
    using Sensor = ::Sensor*;
    using Source = ::Sensor*;
    using Level = EnvParser::Level;
  };
  struct Section : SectionFields<Values> {
    std::string name;
    std::string kindWord;
    SectionKind kind = SectionKind::kUnknown;
  };

  // The parts of a section, for the grammar.
  template <typename Text, typename Parts> friend bool readSection(Text& text, Parts& parts);
  void beginSection();
  void takeKind();
  void takeProperty();
  void endSection();

  void buildReal();
  void buildVirtual();
  void buildDevice();
  SensorThread& workerFor(int32_t period);

  // The next word of the line, or an empty one.
  std::string nextWord();
  // Each takes what stands behind a key for its field.
  void take(int32_t& number) { number = parseInt32(nextWord()); }
  void take(Sensor*& sensor) { sensor = board.sensors[nextWord()]; }
  void take(std::string& word);
  void take(std::vector<int32_t>& list);
  void take(std::vector<Sensor*>& sources);
  void take(std::vector<Level>& levels);

  TextReader text;
  Daemon& board;
  Section section;
};
