#pragma once

#include <cstdint>
#include <deque>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "board/Block.h"
#include "board/Environment.h"
#include "config/ConfGrammar.h"
#include "config/ItemFields.h"

// The keys that the daemon takes up in an item of that kind; none without a kind.
const std::vector<std::string>& itemKeys(ItemKind kind);

// A line that changes the scenario in force for the items below it: "SCEN" with a name, or a "]"
// that does not end an item.
//
// Shape:  a scenario may be entered by several lines; its items are those below all of them.
// Errors: `readByDaemon` is false behind the place where the daemon ends.
struct ScenarioLine {
  // "SCEN" or "]".
  Word keyword;
  // The scenario from here on. Without a name behind "SCEN" it is "SCEN", with that word's place;
  // behind "]" it is "Default".
  Word name;
  bool readByDaemon = true;

  bool closes() const { return keyword.text == "]"; }
  bool named() const { return !closes() && name.at.column != keyword.at.column; }
};

// A row of "actions": one word of the line, and its pieces between "+".
//
// Shape: the rows of a second line of the same key are empty; their pieces stand in the rows of the
//        first line, as the daemon has it. A piece that is no device of the board has a null
//        section.
struct DeviceRow {
  Word word;
  std::vector<Reference> pieces;
};
// A row of "action_info", in the shape of a DeviceRow: a level for each device of the same row.
struct LevelRow {
  Word word;
  std::vector<Number> pieces;
};

enum class ItemEnd { kBlankLine, kBracket, kEndOfFile, kNextHeader };

// A word that only "true" makes true.
//
// Source: nothing without a line; for a key that stands alone, the key.
struct Flag {
  std::optional<Word> word;

  explicit operator bool() const { return word && word->text == "true"; }
};

// What an item keeps of the words behind its keys.
struct ItemValues {
  using Sensor = std::optional<Reference>;
  // A type of its own: a device's name is not looked up where a sensor's is.
  struct Device : std::optional<Reference> {};
  using Number = ::Number;
  using Flag = ::Flag;
  using DeviceRow = ::DeviceRow;
  using LevelRow = ::LevelRow;
};

// An item of a configuration: what the daemon makes an algorithm of.
//
// Shape:  `kind` says which of the lists and numbers have a meaning. A value of which there is no
//         line is the daemon's default, with an empty word; a key that stands alone gives a
//         number or a name the key itself for its word.
// Errors: `missing` and `created` say what the daemon makes of it; numbers are what the daemon
//         reads, however wrong their words are.
// Source: the lines from its header to a blank line, a "]" or the end of the file. Its references
//         point into the environment, which must outlive it.
struct Item : Block, ItemFields<ItemValues> {
  // Behind an error in the type line: what the item was probably meant to be.
  ItemKind kind = ItemKind::kNone;
  // The word behind "algo_type". Without one its text is empty and its place that of "algo_type".
  Word kindWord;
  // The scenario in force, and the index of the line in `scenarioLines` that put it in force.
  std::string scenario;
  std::optional<size_t> scenarioLine;
  // The line directly below the type line is blank. The daemon goes on behind it.
  bool blankBelowType = false;
  // `kNextHeader` comes only behind an error.
  ItemEnd end = ItemEnd::kEndOfFile;
  // The "]" that ends the item, if one does.
  Word bracket;
  // Whether the daemon makes an algorithm of it.
  bool created = false;
  // The keys for want of which the daemon rejects the item, in the order of its tests.
  std::vector<std::string> missing;

  uint32_t period() const { return static_cast<uint32_t>(sampling.value); }
  // The name under which the daemon keeps the worker of the item, such as "1000DefaultMONITOR".
  std::string workerKey() const;
};

// The kind that a word behind "algo_type" names, in capitals or not.
ItemKind meantKind(const std::string& word);

// Fills in what the properties make of an item of its kind.
void interpret(Item& item, const Environment& environment);

// A place where the daemon ends.
//
// Shape:  a finding is made of `expected` and `found`; `message` is what the log says of it.
// Source: the first of a file is what the daemon does; the others come of reading on where it would
//         not.
struct ConfigurationError : ConfError {
  // What should have stood there.
  enum Expected {
    kHeader,               // an item, "SCEN" or "]"
    kHeaderBehindScenario, // the item's header directly below "SCEN"
    kHeaderBehindBracket,  // the item's header directly below a "]" that does not end an item
    kTypeLine,             // "algo_type" directly below a header
    kTypeWord,             // "monitor" or "ss" behind "algo_type"
    kProperties,           // those of `Item::missing`
  };
  // What stands there.
  enum Found { kOtherWord, kNoWord, kBlankLine, kEndOfFile };

  Failure failure = kNoItem;
  Expected expected = kHeader;
  Found found = kOtherWord;
  // The word that should have been another; where there is none the word before it, for
  // MissingProperty the item's header.
  Word word;
  // The daemon's last words, without the line feed.
  std::string message;
  // But for kNoItem.
  const Item* item = nullptr;
};

// An algorithm configuration, as the daemon reads it and, behind the place where it ends, as it
// would once that place were put right.
//
// Shape:  in the order of the file. Items are never moved once they are read: errors and `meant`
//         point at them, so that a Configuration is moved as a whole and not copied.
// Errors: `errors`, the first of which ends the daemon.
// Source: one file, and the environment for the names in it, which must outlive this.
struct Configuration {
  Configuration() = default;
  // Errors and `meant` point at items.
  Configuration(const Configuration&) = delete;
  Configuration& operator=(const Configuration&) = delete;
  Configuration(Configuration&&) = default;
  Configuration& operator=(Configuration&&) = default;

  std::string file;
  TextKind kind;
  // As they stand in the file, without their line feeds.
  std::vector<std::string> lines;
  std::deque<Item> items;
  // As their author meant them: those that the daemon merges for want of a blank line one by one.
  // They point into `items`, and into `parts`.
  std::vector<const Item*> meant;
  std::deque<Item> parts;
  std::vector<ScenarioLine> scenarioLines;
  // The first is where the daemon ends; the others are what it would meet next.
  std::vector<ConfigurationError> errors;
  // The scenarios that can be put in force, those that the daemon does not come to included.
  std::set<std::string> scenarios;

  // Whether the file is not what a configuration is.
  bool isForeign() const { return kind.kind == TextKind::kEnvironment || isUnreadable(kind.kind); }
  const ConfigurationError* fatal() const { return errors.empty() ? nullptr : &errors.front(); }
};

// `environment` must outlive the result, whose items point into it.
Configuration readConfiguration(std::string file, const std::string& content,
                                const Environment& environment);
