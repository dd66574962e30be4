#pragma once

#include <cstdint>
#include <deque>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "base/Names.h"
#include "board/Block.h"
#include "board/TextKind.h"
#include "config/EnvParser.h"

struct Section;

// The keys that the daemon takes up in a section of that kind.
std::vector<std::string> sectionKeys(SectionKind kind);

// A sensor's or device's name where one is referred to, and what the daemon finds under it at that
// moment, or null.
//
// Shape: a virtual section finds only what stands further up; an item finds the last section of
//        that name.
struct Reference {
  Word word;
  const Section* section = nullptr;
};

// One entry of a level table.
//
// Shape:  as many entries as the daemon makes of the line, which need not be as many as its author
//         saw there.
// Errors: `closed` and `behindQuote` tell of quotes that do not do what they seem to.
// Source: a "level_table" line; a further one adds its entries behind.
struct Level {
  // What the daemon keeps, without quotes.
  std::string text;
  // What is written in the file, from the entry's first to its last character; the words of a
  // quoted one with one space between them.
  Word word;
  bool quoted = false;
  // False for a quoted entry that took the rest of its line for want of a closing quote.
  bool closed = true;
  // For a quoted entry that holds a further quote: the text from right behind that quote to the end
  // of its word.
  std::optional<Word> behindQuote;
};

// What a section keeps of the words behind its keys.
struct SectionValues {
  using Number = ::Number;
  using Text = std::optional<Word>;
  using Sensor = std::optional<Reference>;
  using Source = Reference;
  using Level = ::Level;
};

// A section of the environment file: a sensor, a device, or the name of the configuration.
//
// Shape:  `kind` says which of the fields have a meaning. A value of which there is no line is the
//         daemon's default, with an empty word; "trip_sensor" without a word names the sensor "".
// Errors: one of an unknown kind is kept, though the daemon drops it. Numbers are what the daemon
//         reads, however wrong their words are.
// Source: the lines from its header to a blank one.
struct Section : Block, SectionFields<SectionValues> {
  SectionKind kind = SectionKind::kUnknown;
  // The word "type"; nothing where no such line is.
  std::optional<Word> typeWord;
  // The word behind it. Without one its text is empty and its place that of "type".
  Word kindWord;
  // What a sensor's number counts, in thousandths of a degree. The file does not tell: whoever
  // knows the node does.
  int32_t unit = 1;
  // "integer", "hex", "bin" or "string": what decides how a device writes its entries.
  std::string valueType = "integer";

  // Whether another section's header is among its lines, for want of a blank one above it.
  bool merged() const;
  bool isSensor() const { return kind == SectionKind::kReal || kind == SectionKind::kVirtual; }
  bool isDevice() const { return kind == SectionKind::kDevice; }
  // Wraps around like the daemon's.
  int32_t weightSum() const;
};

// A place where the daemon stops reading the environment, without a word and for good.
//
// Shape:  `section` is null for kNoHeader, and otherwise the one that the daemon stops at.
// Source: the first of a file is what the daemon does; the others come of reading on where it would
//         not.
struct EnvironmentBreak {
  enum Cause {
    kNoHeader,     // a line where a header is expected does not begin with "["
    kNothingBelow, // a header with a blank line or the end of the file below it
    kNoTypeLine,   // a header with another line than a "type" line below it
  };
  Cause cause = kNoHeader;
  // The word that should have been another; for kNothingBelow the header.
  Word word;
  // The header's section, but for kNoHeader.
  const Section* section = nullptr;
};

// The environment file, as the daemon reads it and, behind the place where it stops, as it would
// once that place were put right.
//
// Shape:  in the order of the file. Sections are never moved once they are read: they point at each
//         other, and items at them, so that an Environment is moved as a whole and not copied.
// Errors: `breaks`; none is raised, and an empty text gives an empty environment.
// Source: one file.
struct Environment {
  Environment() = default;
  // Sections point at each other, and the items of a configuration at them.
  Environment(const Environment&) = delete;
  Environment& operator=(const Environment&) = delete;
  Environment(Environment&&) = default;
  Environment& operator=(Environment&&) = default;

  std::string file;
  TextKind kind;
  // As they stand in the file, without their line feeds.
  std::vector<std::string> lines;
  std::deque<Section> sections;
  // The first is where the daemon stops; the others are what it would meet next. Empty for a file
  // that is read to its end.
  std::vector<EnvironmentBreak> breaks;

  // What the daemon ends up with. A sensor that is named but not defined above has a null entry.
  std::map<std::string, const Section*> sensors;
  std::map<std::string, const Section*> devices;
  Word confFileName{kDefaultConfiguration, {}};

  // The sensor or device that the daemon knows under that name, or null.
  const Section* sensor(const std::string& name) const;
  const Section* device(const std::string& name) const;
  // Whether the file is not what an environment is, so that the daemon knows nothing of the board.
  bool isForeign() const;

  // The last section of that name, one that the daemon drops or never reads included; or null.
  const Section* named(const std::string& name) const;
};

Environment readEnvironment(std::string file, const std::string& content);
