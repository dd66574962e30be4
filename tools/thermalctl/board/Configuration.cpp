#include "board/Configuration.h"

#include <algorithm>
#include <map>

#include "base/Names.h"
#include "base/TextReader.h"
#include "board/MeantItems.h"
#include "config/ConfParser.h"
#include "text/Characters.h"
#include "text/PlacedText.h"

namespace {

using Error = ConfigurationError;

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
    fillFields(item, [this](auto& field, const Property& property) { take(field, property); });
    visitKeys(item, item.kind, [this](const char* key, const auto& field, Need need) {
      if (need == Need::kMandatory && !isGiven(field)) item.missing.emplace_back(key);
    });
  }

private:
  // A key that stands alone is taken for its own value.
  static const Word& valueOf(const Property& property) {
    return property.words.empty() ? property.key : property.words.front();
  }

  void take(std::optional<Reference>& sensor, const Property& property) {
    const Word& name = valueOf(property);
    sensor = Reference{name, environment.sensor(name.text)};
  }
  void take(ItemValues::Device& device, const Property& property) {
    device.emplace(deviceOf(valueOf(property)));
  }
  void take(Number& number, const Property& property) { number = numberOf(valueOf(property)); }
  void take(Flag& flag, const Property& property) { flag.word = valueOf(property); }
  void take(std::vector<Number>& list, const Property& property) {
    for (const Word& word : property.words)
      list.push_back(numberOf(word));
  }
  void take(std::vector<DeviceRow>& rows, const Property& property) {
    appendRows(rows, property.words, [this](const Word& piece) { return deviceOf(piece); });
  }
  void take(std::vector<LevelRow>& rows, const Property& property) {
    appendRows(rows, property.words, numberOf);
  }

  Reference deviceOf(const Word& name) const { return {name, environment.device(name.text)}; }

  template <typename Row, typename Convert>
  static void appendRows(std::vector<Row>& rows, const std::vector<Word>& words, Convert convert) {
    // By the words of this line and not behind the rows that are there: the daemon has it so.
    for (size_t i = 0; i < words.size(); ++i) {
      rows.push_back({words[i], {}});
      for (const Word& piece : piecesOf(words[i]))
        rows[i].pieces.push_back(convert(piece));
    }
  }

  static bool isGiven(const std::optional<Reference>& name) { return name && name->section; }
  static bool isGiven(const Number& number) { return number.value != 0; }
  static bool isGiven(const Flag& flag) { return flag.word.has_value(); }
  template <typename T> static bool isGiven(const std::vector<T>& list) { return !list.empty(); }

  Item& item;
  const Environment& environment;
};

// Reads the file the daemon's way, and on behind the places where the daemon would not.
class ConfigurationReader {
public:
  ConfigurationReader(Configuration& configuration_, const Environment& environment_,
                      const std::string& content)
      : configuration(configuration_), environment(environment_), text(content) {}

  void read() {
    configuration.lines = text.allLines();
    while (!text.ended()) {
      if (!text.advance()) continue;
      expected = Error::kHeader;
      if (const auto failure = readItem(text, *this)) resume(*failure);
    }
  }

  // The parts of an item, for the grammar.
  void leaveScenario() {
    expected = Error::kHeaderBehindBracket;
    putInForce(text.placedWord(), {kDefaultScenario, text.placedWord().at});
  }

  void enterScenario() {
    expected = Error::kHeaderBehindScenario;
    const Word keyword = text.placedWord();
    text.nextWord();
    putInForce(keyword, text.placedWord());
    configuration.scenarios.insert(text.word());
  }

  void beginItem() {
    item = &configuration.items.emplace_back();
    item->header = text.placedWord();
    item->name = headerName(text.word());
    item->readByDaemon = configuration.errors.empty();
    item->scenario = scenario;
    if (!configuration.scenarioLines.empty())
      item->scenarioLine = configuration.scenarioLines.size() - 1;
  }

  // Where no word is left on the line, the place of the last one is where the kind lacks.
  bool takeKind() {
    item->kindWord = text.nextWord() ? text.placedWord() : Word{"", text.placedWord().at};
    item->kind = itemKind(text.word());
    return item->kind != ItemKind::kNone;
  }

  void takeProperty() {
    if (lineFound() == Error::kBlankLine) item->blankBelowType = true;
    // Where nothing is below, the word in hand is the kind's and not a key.
    if (text.wordFound()) item->properties.push_back({text.placedWord(), text.restOfLine(), false});
  }

  std::optional<Error::Failure> endItem() {
    noteEnd();
    return build();
  }

private:
  void putInForce(const Word& keyword, const Word& name) {
    scenario = name.text;
    configuration.scenarioLines.push_back({keyword, name, configuration.errors.empty()});
  }

  void noteEnd() {
    if (!text.lineFound()) {
      item->end = text.ended() ? ItemEnd::kEndOfFile : ItemEnd::kBlankLine;
    } else {
      item->end = ItemEnd::kBracket;
      item->bracket = text.placedWord();
    }
  }

  std::optional<Error::Failure> build() {
    interpret(*item, environment);
    const bool complete = item->kind != ItemKind::kNone && item->missing.empty();
    item->created = complete && configuration.errors.empty();
    if (item->missing.empty()) return std::nullopt;
    return Error::kMissingProperty;
  }

  Error::Found lineFound() const {
    if (text.lineFound()) return Error::kOtherWord;
    return text.ended() ? Error::kEndOfFile : Error::kBlankLine;
  }

  void fail(Error::Failure failure, Error::Expected place, Error::Found found, const Word& at) {
    const Item* of = failure == Error::kNoItem ? nullptr : item;
    const std::string message = ConfParser::messageOf(failure, of ? of->name : "");
    configuration.errors.push_back({{}, failure, place, found, at, message, of});
  }

  // Behind the place where the daemon ends.
  void resume(Error::Failure failure) {
    switch (failure) {
    case Error::kNoItem:
      fail(failure, expected, lineFound(), text.placedWord());
      return skipParagraph(blockCutOff());
    case Error::kNoType:
      fail(failure, Error::kTypeLine, lineFound(), text.placedWord());
      // A blank line below the header: the item goes on where its type line is found.
      if (text.lineFound() || text.findBelow(kItemTypeKey)) readOn();
      return resumeBehind(build());
    case Error::kBadType:
      rejectKind();
      readProperties(text, *this);
      return resumeBehind(endItem());
    case Error::kMissingProperty:
      return resumeBehind(failure);
    }
  }

  // The item above, if the key in hand was one of its own.
  Item* blockCutOff() const {
    if (expected != Error::kHeader || !item || item->end != ItemEnd::kBlankLine) return nullptr;
    const std::vector<std::string> keys = itemKeys(item->kind);
    return std::find(keys.begin(), keys.end(), text.word()) == keys.end() ? nullptr : item;
  }

  // Behind an item's last line.
  void resumeBehind(std::optional<Error::Failure> failure) {
    if (failure) fail(*failure, Error::kProperties, Error::kNoWord, item->header);
  }

  void rejectKind() {
    fail(Error::kBadType, Error::kTypeWord, text.wordFound() ? Error::kOtherWord : Error::kNoWord,
         text.placedWord());
    item->kind = meantKind(text.word());
  }

  bool beginsBlock() const {
    return text.word()[0] == '[' || text.word() == kScenarioKey || text.word() == "]";
  }

  // From the line in hand to the next blank line, or to one that begins a block.
  void skipParagraph(Item* cut) {
    for (; text.lineFound(); text.advance()) {
      if (beginsBlock()) return text.readLineAgain();
      if (cut) cut->cutOff.push_back(text.word());
    }
  }

  // The lines up to the item's end are what it was meant to hold, and one of them may be its type
  // line.
  void readOn() {
    for (; text.lineFound() && text.word() != "]"; text.advance()) {
      if (beginsBlock()) {
        item->end = ItemEnd::kNextHeader;
        return text.readLineAgain();
      }
      if (text.word() != kItemTypeKey || !item->kindWord.text.empty())
        takeProperty();
      else if (!takeKind())
        rejectKind();
    }
    noteEnd();
  }

  Configuration& configuration;
  const Environment& environment;
  PlacedText text;
  std::string scenario{kDefaultScenario};
  // What would have to stand where no item begins.
  Error::Expected expected = Error::kHeader;
  // The one that is being read.
  Item* item = nullptr;
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
  // They are asked for with each line that has a slip.
  static const std::map<ItemKind, std::vector<std::string>> keys = {
      {ItemKind::kMonitor, keysOf<Item>(ItemKind::kMonitor)},
      {ItemKind::kSS, keysOf<Item>(ItemKind::kSS)},
      {ItemKind::kNone, keysOf<Item>(ItemKind::kNone)}};
  return keys.at(kind);
}

ItemKind meantKind(const std::string& word) {
  return itemKind(lowerCase(word));
}

void interpret(Item& item, const Environment& environment) {
  Interpreter(item, environment).interpret();
}

std::string Item::workerKey() const {
  return ::workerKey(kind, period(), scenario);
}

Configuration readConfiguration(std::string file, const std::string& content,
                                const Environment& environment) {
  Configuration configuration;
  configuration.file = std::move(file);
  configuration.kind = textKindOf(content);
  ConfigurationReader(configuration, environment, content).read();
  listMeantItems(configuration, environment);
  return configuration;
}
