#include "board/Environment.h"

#include <algorithm>

#include "base/Int32.h"
#include "base/TextReader.h"
#include "text/PlacedText.h"

namespace {

using Words = std::vector<Word>;

// The text right behind a quote inside of `word`, whose first `skip` characters are not looked at.
std::optional<Word> behindInnerQuote(const Word& word, size_t skip) {
  const size_t quote = word.text.find('"', skip);
  if (quote == std::string::npos || quote + 1 >= word.text.size()) return std::nullopt;
  return Word{word.text.substr(quote + 1),
              {word.at.line, word.at.column + static_cast<int>(quote) + 1}};
}

// The quoted entry that begins with `words[i]`; leaves `i` at its last word.
Level quotedLevel(const Words& words, size_t& i) {
  Level level;
  level.quoted = true;
  level.word = words[i];
  level.behindQuote = behindInnerQuote(words[i], 1);
  while (words[i].text.back() != '"') {
    if (i + 1 == words.size()) {
      level.closed = false;
      level.text = level.word.text.substr(1);
      return level;
    }
    ++i;
    level.word.text += " " + words[i].text;
    if (!level.behindQuote) level.behindQuote = behindInnerQuote(words[i], 0);
  }
  level.text = headerName(level.word.text);
  return level;
}

Level bareLevel(const Word& word) {
  Level level;
  level.text = word.text;
  level.word = word;
  return level;
}

// Reads the file the daemon's way, and on behind the places where the daemon would not.
class EnvironmentReader {
public:
  EnvironmentReader(Environment& environment_, const std::string& content)
      : environment(environment_), text(content) {}

  void read() {
    environment.lines = text.allLines();
    while (!text.ended()) {
      section = nullptr;
      if (text.advance() && !readSection(text, *this)) resume();
    }
  }

  // The parts of a section, for the grammar.
  void beginSection() {
    section = &environment.sections.emplace_back();
    section->header = text.placedWord();
    section->name = headerName(text.word());
  }

  void takeKind() {
    section->typeWord = text.placedWord();
    section->kindWord = text.nextWord() ? text.placedWord() : Word{"", text.placedWord().at};
    section->kind = sectionKind(section->kindWord.text);
  }

  void takeProperty() {
    section->properties.push_back({text.placedWord(), text.restOfLine(), false});
  }

  void endSection() {
    section->readByDaemon = readByDaemon();
    fillFields(*section, [this](auto& field, const Property& property) { take(field, property); });
    section->valueType = valueTypeOf(section->levels);
    enter(*section);
  }

private:
  bool readByDaemon() const { return environment.breaks.empty(); }
  bool beginsSection() const { return text.word()[0] == '['; }

  // Where the daemon is gone. The lines up to a blank one are what the section was meant to hold,
  // and one of them may be its "type" line.
  void resume() {
    if (!section) {
      environment.breaks.push_back({EnvironmentBreak::kNoHeader, text.placedWord(), nullptr});
      return skipParagraph(sectionCutOff());
    }
    if (text.lineFound()) {
      environment.breaks.push_back({EnvironmentBreak::kNoTypeLine, text.placedWord(), section});
      readOn();
    } else {
      environment.breaks.push_back({EnvironmentBreak::kNothingBelow, section->header, section});
      if (text.findBelow(kSectionTypeKey)) readOn();
    }
    endSection();
  }

  // The section above, if the key in hand was one of its own.
  Section* sectionCutOff() {
    if (environment.sections.empty()) return nullptr;
    Section& last = environment.sections.back();
    const std::vector<std::string> keys = sectionKeys(last.kind);
    return std::find(keys.begin(), keys.end(), text.word()) == keys.end() ? nullptr : &last;
  }

  // To the next blank line or header.
  void skipParagraph(Section* cut) {
    do {
      if (beginsSection()) return text.readLineAgain();
      if (cut) cut->cutOff.push_back(text.word());
    } while (text.advance());
  }

  void readOn() {
    for (; text.lineFound(); text.advance()) {
      if (beginsSection()) return text.readLineAgain();
      if (text.word() == kSectionTypeKey && !section->typeWord)
        takeKind();
      else
        takeProperty();
    }
  }

  // A key that stands alone gives nothing, at the key's place.
  static Word valueOf(const Property& property) {
    return property.words.empty() ? Word{"", property.key.at} : property.words.front();
  }

  void take(Number& number, const Property& property) { number = numberOf(valueOf(property)); }
  void take(std::optional<Word>& word, const Property& property) {
    if (!property.words.empty()) word = property.words.front();
  }
  void take(std::optional<Reference>& sensor, const Property& property) {
    sensor = lookUp(valueOf(property));
  }
  void take(std::vector<Number>& list, const Property& property) {
    for (const Word& word : property.words)
      list.push_back(numberOf(word));
  }
  void take(std::vector<Reference>& sources, const Property& property) {
    for (const Word& word : property.words)
      sources.push_back(lookUp(word));
  }
  void take(std::vector<Level>& levels, const Property& property) {
    const Words& words = property.words;
    for (size_t i = 0; i < words.size(); ++i)
      levels.push_back(words[i].text.front() == '"' ? quotedLevel(words, i) : bareLevel(words[i]));
  }

  // A name that is not there gets an entry without a sensor.
  Reference lookUp(const Word& word) {
    if (readByDaemon()) environment.sensors[word.text];
    return {word, sensors[word.text]};
  }

  void enter(const Section& known) {
    if (known.isSensor()) sensors[known.name] = &known;
    if (!readByDaemon()) return;
    if (known.isSensor()) environment.sensors[known.name] = &known;
    if (known.isDevice()) environment.devices[known.name] = &known;
    if (known.fileName) environment.confFileName = *known.fileName;
  }

  Environment& environment;
  PlacedText text;
  // The one that is being read.
  Section* section = nullptr;
  // Those of the sections that the daemon does not come to, too.
  std::map<std::string, const Section*> sensors;
};

template <typename Map> const Section* entryOf(const Map& map, const std::string& name) {
  const auto found = map.find(name);
  return found == map.end() ? nullptr : found->second;
}

} // namespace

std::vector<std::string> sectionKeys(SectionKind kind) {
  return keysOf<Section>(kind);
}

int32_t Section::weightSum() const {
  int32_t sum = 0;
  for (const Number& weight : weights)
    sum = wrapAdd(sum, weight.value);
  return sum;
}

bool Section::merged() const {
  return std::any_of(properties.begin(), properties.end(),
                     [](const Property& property) { return property.key.text[0] == '['; });
}

const Section* Environment::sensor(const std::string& name) const {
  return entryOf(sensors, name);
}

const Section* Environment::device(const std::string& name) const {
  return entryOf(devices, name);
}

bool Environment::isForeign() const {
  return kind.kind == TextKind::kEmpty || kind.kind == TextKind::kConfiguration ||
         isUnreadable(kind.kind);
}

const Section* Environment::named(const std::string& name) const {
  const auto found = std::find_if(sections.rbegin(), sections.rend(),
                                  [&name](const Section& s) { return s.name == name; });
  return found == sections.rend() ? nullptr : &*found;
}

Environment readEnvironment(std::string file, const std::string& content) {
  Environment environment;
  environment.file = std::move(file);
  environment.kind = textKindOf(content);
  EnvironmentReader(environment, content).read();
  return environment;
}
