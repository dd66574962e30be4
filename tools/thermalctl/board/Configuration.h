#pragma once

#include <cstdint>
#include <deque>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "board/Block.h"
#include "board/Environment.h"

enum class ItemKind { kMonitor, kSS, kNone };

// The keys that the daemon takes up in an item of that kind; none without a kind.
const std::vector<std::string>& itemKeys(ItemKind kind);

// A line that changes the scenario in force for the items below it: "SCEN" with a name, or a "]"
// that does not end an item.
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

// A row of "actions" or "action_info": one word of the line, and its pieces between "+".
//
// The rows of a second line of the same key are empty; their pieces stand in the rows of the first
// line, as the daemon has it.
struct DeviceRow {
  Word word;
  std::vector<Reference> pieces;
};
struct LevelRow {
  Word word;
  std::vector<Number> pieces;
};

enum class ItemEnd { kBlankLine, kBracket, kEndOfFile, kNextHeader };

struct Item : Block {
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

  // A key that stands alone gives a number or a name the key itself for its word.
  std::optional<Reference> sensor;
  Number sampling{1000, {}};
  std::optional<Word> lowactiveWord;
  bool lowactive = false;

  // Of a monitor. A list keeps the words of all of its lines in their order.
  std::vector<Number> thresholds;
  std::vector<Number> thresholdsClr;
  std::vector<DeviceRow> actions;
  std::vector<LevelRow> actionInfo;

  // Of an SS.
  std::optional<Reference> device;
  Number setPoint;
  Number setPointClr;
  Number startLevel;
  Number devicePerfFloor{INT32_MAX, {}};
  Number timeTickTrigger;

  uint32_t period() const { return static_cast<uint32_t>(sampling.value); }
  // The name under which the daemon keeps the worker of the item, such as "1000DefaultMONITOR".
  std::string workerKey() const;
};

// The kind that a word behind "algo_type" names, in capitals or not.
ItemKind meantKind(const std::string& word);

// Fills in what the properties make of an item of its kind.
void interpret(Item& item, const Environment& environment);

// A place where the daemon ends.
struct ConfigurationError {
  enum Failure { kNoItem, kNoType, kBadType, kMissingProperty };
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
struct Configuration {
  Configuration() = default;
  // Errors and `meant` point at items.
  Configuration(const Configuration&) = delete;
  Configuration& operator=(const Configuration&) = delete;
  Configuration(Configuration&&) = default;
  Configuration& operator=(Configuration&&) = default;

  std::string file;
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

  const ConfigurationError* fatal() const { return errors.empty() ? nullptr : &errors.front(); }
};

// `environment` must outlive the result, whose items point into it.
Configuration readConfiguration(std::string file, const std::string& content,
                                const Environment& environment);
