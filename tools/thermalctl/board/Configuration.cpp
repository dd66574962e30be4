#include "board/Configuration.h"

#include <algorithm>
#include <map>

#include "base/Int32.h"
#include "base/TextReader.h"
#include "board/MeantItems.h"
#include "text/Characters.h"
#include "text/PlacedText.h"

namespace {

using Error = ConfigurationError;

ItemKind itemKind(const std::string& word) {
  if (word == "monitor") return ItemKind::kMonitor;
  if (word == "ss") return ItemKind::kSS;
  return ItemKind::kNone;
}

std::string messageOf(Error::Failure failure, const Item* item) {
  switch (failure) {
  case Error::kNoItem:
    return "Each item should be started with 'SCEN' or embraced with [name]";
  case Error::kNoType:
    return "Each item's property should contain & start with 'algo_type'";
  case Error::kBadType:
    return "Algo type should be 'monitor' or 'SS'";
  default:
    // The daemon's line ends the name where it holds a NUL.
    return std::string("There is some missing property for ") + item->name.c_str();
  }
}

// The pieces of a word between "+", with their places.
std::vector<Word> piecesOf(const Word& word) {
  std::vector<std::string> texts;
  stringTokenizer(word.text, texts, "+");
  std::vector<Word> pieces;
  size_t position = 0;
  for (std::string& text : texts) {
    // As the daemon's tokenizer goes on: it passes over any number of "+".
    position = word.text.find_first_not_of('+', position);
    const int column = word.at.column + static_cast<int>(position);
    position += text.size();
    pieces.push_back({std::move(text), {word.at.line, column}});
  }
  return pieces;
}

// What the property lines make of the item.
class Interpreter {
public:
  Interpreter(Item& item_, const Environment& environment_)
      : item(item_), environment(environment_) {}

  void interpret() {
    const std::vector<std::string>& keys = itemKeys(item.kind);
    for (Property& property : item.properties) {
      property.known = std::find(keys.begin(), keys.end(), property.key.text) != keys.end();
      if (property.known) apply(property);
    }
    listMissing();
  }

private:
  void apply(const Property& property) {
    // Both are tried whatever the item's kind: only keys that the kind knows come here.
    if (applyToMonitor(property) || applyToSS(property)) return;
    const std::string& key = property.key.text;
    if (key == "sensor") {
      const Word& name = valueOf(property);
      item.sensor = Reference{name, environment.sensor(name.text)};
    } else if (key == "sampling") {
      item.sampling = numberOf(property);
    } else if (key == "lowactive") {
      item.lowactiveWord = valueOf(property);
      item.lowactive = item.lowactiveWord->text == "true";
    }
  }

  bool applyToMonitor(const Property& property) {
    const std::string& key = property.key.text;
    if (key == "thresholds")
      appendNumbers(item.thresholds, property.words);
    else if (key == "thresholds_clr")
      appendNumbers(item.thresholdsClr, property.words);
    else if (key == "actions")
      appendRows(item.actions, property.words, [this](const Word& piece) {
        return Reference{piece, environment.device(piece.text)};
      });
    else if (key == "action_info")
      appendRows(item.actionInfo, property.words, [](const Word& piece) {
        return Number{parseInt32(piece.text), piece};
      });
    else
      return false;
    return true;
  }

  bool applyToSS(const Property& property) {
    static const std::map<std::string, Number Item::*> numbers = {
        {"set_point", &Item::setPoint},
        {"set_point_clr", &Item::setPointClr},
        {"start_level", &Item::startLevel},
        {"device_perf_floor", &Item::devicePerfFloor},
        {"time_tick_trigger", &Item::timeTickTrigger},
    };
    if (property.key.text == "device") {
      const Word& name = valueOf(property);
      item.device = Reference{name, environment.device(name.text)};
      return true;
    }
    const auto number = numbers.find(property.key.text);
    if (number == numbers.end()) return false;
    item.*number->second = numberOf(property);
    return true;
  }

  // A key that stands alone is taken for its own value.
  static const Word& valueOf(const Property& property) {
    return property.words.empty() ? property.key : property.words.front();
  }
  static Number numberOf(const Property& property) {
    const Word& word = valueOf(property);
    return {parseInt32(word.text), word};
  }

  static void appendNumbers(std::vector<Number>& list, const std::vector<Word>& words) {
    for (const Word& word : words)
      list.push_back({parseInt32(word.text), word});
  }

  template <typename Row, typename Convert>
  static void appendRows(std::vector<Row>& rows, const std::vector<Word>& words, Convert convert) {
    // By the words of this line and not behind the rows that are there: the daemon has it so.
    for (size_t i = 0; i < words.size(); ++i) {
      rows.push_back({words[i], {}});
      for (const Word& piece : piecesOf(words[i]))
        rows[i].pieces.push_back(convert(piece));
    }
  }

  void listMissing() {
    const auto require = [this](bool given, const char* key) {
      if (!given) item.missing.emplace_back(key);
    };
    if (item.kind == ItemKind::kNone) return;
    require(item.sensor && item.sensor->section, "sensor");
    if (item.kind == ItemKind::kMonitor) {
      require(!item.thresholds.empty(), "thresholds");
      require(!item.thresholdsClr.empty(), "thresholds_clr");
      require(!item.actions.empty(), "actions");
      require(!item.actionInfo.empty(), "action_info");
    } else {
      require(item.device && item.device->section, "device");
      require(item.setPoint.value != 0, "set_point");
      require(item.setPointClr.value != 0, "set_point_clr");
    }
  }

  Item& item;
  const Environment& environment;
};

// Reads the file the daemon's way, and on behind the places where the daemon would not. Like the
// daemon it has one word only, which stays where no other follows.
class Reader {
public:
  Reader(Configuration& configuration_, const Environment& environment_, const std::string& content)
      : configuration(configuration_), environment(environment_), text(content) {}

  void read() {
    configuration.lines = text.allLines();
    while (!text.ended()) {
      if (text.nextLine()) readBlock();
    }
  }

private:
  void nextLine() { fetched = text.nextLine(); }

  void nextWord() {
    std::optional<Word> next = text.nextWord();
    extracted = next.has_value();
    if (next) word = std::move(*next);
  }

  // Why there was no line.
  Error::Found gap() const { return text.ended() ? Error::kEndOfFile : Error::kBlankLine; }
  Error::Found lineFound() const { return fetched ? Error::kOtherWord : gap(); }
  Error::Found wordFound() const { return extracted ? Error::kOtherWord : Error::kNoWord; }

  void fail(Error::Failure failure, Error::Expected expected, Error::Found found,
            const Item* item) {
    configuration.errors.push_back(
        {failure, expected, found, word, messageOf(failure, item), item});
  }

  bool beginsBlock() const {
    return word.text[0] == '[' || word.text == "SCEN" || word.text == "]";
  }

  // An item, with the scenario line above it if there is one.
  void readBlock() {
    fetched = true;
    Error::Expected expected = Error::kHeader;
    nextWord();
    if (word.text == "]") {
      expected = Error::kHeaderBehindBracket;
      putInForce(word, {"Default", word.at});
    } else if (word.text == "SCEN") {
      expected = Error::kHeaderBehindScenario;
      const Word keyword = word;
      nextWord();
      putInForce(keyword, word);
      configuration.scenarios.insert(word.text);
    }
    if (expected != Error::kHeader) {
      nextLine();
      nextWord();
    }
    if (word.text[0] == '[') return readItem(word);
    fail(Error::kNoItem, expected, lineFound(), nullptr);
    if (fetched) skipParagraph();
  }

  void putInForce(const Word& keyword, const Word& name) {
    scenario = name.text;
    configuration.scenarioLines.push_back({keyword, name, configuration.errors.empty()});
  }

  // From the line in hand to the next blank line, or to one that begins a block.
  void skipParagraph() {
    do {
      if (beginsBlock()) return text.readLineAgain();
      nextLine();
      nextWord();
    } while (fetched);
  }

  void readItem(const Word& header) {
    Item& item = configuration.items.emplace_back();
    item.header = header;
    item.name = headerName(header.text);
    item.readByDaemon = configuration.errors.empty();
    item.scenario = scenario;
    if (!configuration.scenarioLines.empty())
      item.scenarioLine = configuration.scenarioLines.size() - 1;
    nextLine();
    nextWord();
    if (word.text == "algo_type") {
      readKind(item);
      readProperties(item);
    } else {
      fail(Error::kNoType, Error::kTypeLine, lineFound(), &item);
      recover(item);
    }
    build(item);
  }

  void readKind(Item& item) {
    nextWord();
    item.kindWord = extracted ? word : Word{"", word.at};
    item.kind = itemKind(word.text);
    if (item.kind != ItemKind::kNone) return;
    fail(Error::kBadType, Error::kTypeWord, wordFound(), &item);
    item.kind = meantKind(word.text);
  }

  void readProperties(Item& item) {
    nextLine();
    item.blankBelowType = lineFound() == Error::kBlankLine;
    nextWord();
    // Where nothing is below, the word in hand is the kind's and not a key.
    if (extracted) addProperty(item);
    readFurtherProperties(item);
  }

  void addProperty(Item& item) { item.properties.push_back({word, text.restOfLine(), false}); }

  void readFurtherProperties(Item& item) {
    for (;;) {
      nextLine();
      if (!fetched) return endAtGap(item);
      nextWord();
      if (word.text == "]") return endAtBracket(item);
      addProperty(item);
    }
  }

  // The daemon is gone; the lines up to the item's end are what it was meant to hold, and one of
  // them may be its type line.
  void recover(Item& item) {
    if (!fetched && !findTypeLineBelow()) return;
    for (;;) {
      if (word.text == "]") return endAtBracket(item);
      if (beginsBlock()) return endAtNextHeader(item);
      if (word.text == "algo_type" && item.kindWord.text.empty())
        readKind(item);
      else
        addProperty(item);
      nextLine();
      if (!fetched) return endAtGap(item);
      nextWord();
    }
  }

  // Whether a blank line below the header was all that was wrong.
  bool findTypeLineBelow() {
    while (!fetched) {
      if (text.ended()) return false;
      nextLine();
    }
    nextWord();
    if (word.text == "algo_type") return true;
    text.readLineAgain();
    return false;
  }

  void endAtBracket(Item& item) {
    item.end = ItemEnd::kBracket;
    item.bracket = word;
  }
  void endAtGap(Item& item) {
    item.end = gap() == Error::kEndOfFile ? ItemEnd::kEndOfFile : ItemEnd::kBlankLine;
  }
  void endAtNextHeader(Item& item) {
    item.end = ItemEnd::kNextHeader;
    text.readLineAgain();
  }

  void build(Item& item) {
    Interpreter(item, environment).interpret();
    item.created =
        configuration.errors.empty() && item.kind != ItemKind::kNone && item.missing.empty();
    if (item.missing.empty()) return;
    word = item.header;
    fail(Error::kMissingProperty, Error::kProperties, Error::kNoWord, &item);
  }

  Configuration& configuration;
  const Environment& environment;
  PlacedText text;
  Word word;
  // Whether the last line was there to be read, and the last word in the line in hand.
  bool fetched = false;
  bool extracted = false;
  std::string scenario{"Default"};
};

void listMeantItems(Configuration& configuration, const Environment& environment) {
  for (const Item& item : configuration.items) {
    if (!merged(item)) {
      configuration.meant.push_back(&item);
      continue;
    }
    for (Item& part : meantItems(item, environment)) {
      configuration.parts.push_back(std::move(part));
      configuration.meant.push_back(&configuration.parts.back());
    }
  }
}

} // namespace

const std::vector<std::string>& itemKeys(ItemKind kind) {
  static const std::vector<std::string> monitor = {
      "sensor", "sampling", "thresholds", "thresholds_clr", "actions", "action_info", "lowactive"};
  static const std::vector<std::string> ss = {
      "sensor",        "device",      "sampling",          "set_point",
      "set_point_clr", "start_level", "device_perf_floor", "time_tick_trigger",
      "lowactive"};
  static const std::vector<std::string> none;
  return kind == ItemKind::kMonitor ? monitor : kind == ItemKind::kSS ? ss : none;
}

ItemKind meantKind(const std::string& word) {
  return itemKind(lowerCase(word));
}

void interpret(Item& item, const Environment& environment) {
  Interpreter(item, environment).interpret();
}

std::string Item::workerKey() const {
  return std::to_string(period()) + scenario + (kind == ItemKind::kSS ? "SS" : "MONITOR");
}

Configuration readConfiguration(std::string file, const std::string& content,
                                const Environment& environment) {
  Configuration configuration;
  configuration.file = std::move(file);
  Reader(configuration, environment, content).read();
  listMeantItems(configuration, environment);
  return configuration;
}
