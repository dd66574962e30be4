#include "board/Environment.h"

#include <algorithm>

#include "base/Int32.h"
#include "base/TextReader.h"
#include "text/PlacedText.h"

namespace {

using Words = std::vector<Word>;

int32_t firstNumber(const Words& words) {
  return words.empty() ? 0 : parseInt32(words.front().text);
}

Number numberOf(const Words& words) {
  return {firstNumber(words), words.empty() ? Word() : words.front()};
}

void appendNumbers(std::vector<Number>& list, const Words& words) {
  for (const Word& word : words)
    list.push_back({parseInt32(word.text), word});
}

bool contains(const std::string& text, const char* part) {
  return text.find(part) != std::string::npos;
}

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

void appendLevels(Section& section, const Words& words) {
  for (size_t i = 0; i < words.size(); ++i) {
    const Word& word = words[i];
    if (word.text.front() == '"') {
      section.levels.push_back(quotedLevel(words, i));
      section.valueType = "string";
      continue;
    }
    Level level;
    level.text = word.text;
    level.word = word;
    section.levels.push_back(level);
    // Anywhere in the word, and the last such entry of the table decides for all of them.
    if (contains(word.text, "0x"))
      section.valueType = "hex";
    else if (contains(word.text, "0b"))
      section.valueType = "bin";
  }
}

// Reads the file the daemon's way, and on behind the places where the daemon would not.
class Reader {
public:
  Reader(Environment& environment_, const std::string& content)
      : environment(environment_), text(content) {}

  void read() {
    while (!text.ended()) {
      if (!text.nextLine()) continue;
      const Word word = *text.nextWord();
      if (word.text[0] == '[') {
        readSection(word);
      } else {
        breakOff(EnvironmentBreak::kNoHeader, word, nullptr);
        skipParagraph();
      }
    }
  }

private:
  void breakOff(EnvironmentBreak::Cause cause, const Word& word, Section* section) {
    if (section) section->readByDaemon = false;
    environment.breaks.push_back({cause, word, section});
  }

  // To the next blank line or header.
  void skipParagraph() {
    while (text.nextLine()) {
      if (text.nextWord()->text[0] != '[') continue;
      text.readLineAgain();
      return;
    }
  }

  void readSection(const Word& header) {
    Section& section = environment.sections.emplace_back();
    section.header = header;
    section.name = headerName(header.text);
    section.readByDaemon = environment.breaks.empty();

    // Where the line below is blank, the rest of the header's line stands in for it: the daemon
    // goes on with what it has in hand.
    const bool lineBelow = text.nextLine();
    const std::optional<Word> word = text.nextWord();
    if (word && word->text == "type") {
      readKind(section, *word);
      readProperties(section);
    } else if (lineBelow) {
      breakOff(EnvironmentBreak::kNoTypeLine, *word, &section);
      recover(section, *word);
    } else {
      breakOff(EnvironmentBreak::kNothingBelow, header, &section);
      recoverBelowBlankLine(section);
    }
    interpret(section);
  }

  void readKind(Section& section, const Word& type) {
    section.typeWord = type;
    section.kindWord = text.nextWord().value_or(Word{"", type.at});
    section.kind = sectionKind(section.kindWord.text);
  }

  void readProperties(Section& section) {
    while (text.nextLine())
      addProperty(section, *text.nextWord());
  }

  void addProperty(Section& section, const Word& key) {
    section.properties.push_back({key, text.restOfLine(), false});
  }

  // The daemon is gone; the lines up to a blank one are what the section was meant to hold, and one
  // of them may be its "type" line. `first` begins the line in hand.
  void recover(Section& section, const Word& first) {
    std::optional<Word> word = first;
    for (; word; word = text.nextLine() ? text.nextWord() : std::nullopt) {
      if (word->text[0] == '[') return text.readLineAgain();
      if (word->text == "type" && !section.typeWord)
        readKind(section, *word);
      else
        addProperty(section, *word);
    }
  }

  void recoverBelowBlankLine(Section& section) {
    while (!text.nextLine()) {
      if (text.ended()) return;
    }
    const Word word = *text.nextWord();
    if (word.text == "type") return recover(section, word);
    text.readLineAgain();
  }

  void interpret(Section& section) {
    const std::vector<std::string>& keys = sectionKeys(section.kind);
    for (Property& property : section.properties) {
      property.known = std::find(keys.begin(), keys.end(), property.key.text) != keys.end();
      if (property.known) apply(section, property);
    }
    enter(section);
  }

  void apply(Section& section, const Property& property) {
    const std::string& key = property.key.text;
    const Words& words = property.words;
    if (key == "sampling")
      section.sampling = numberOf(words);
    else if (key == "set_point")
      section.setPoint = numberOf(words);
    else if (key == "set_point_clr")
      section.setPointClr = numberOf(words);
    else if (key == "offsets")
      appendNumbers(section.offsets, words);
    else if (key == "weights")
      appendNumbers(section.weights, words);
    else if (key == "sensors")
      for (const Word& word : words)
        section.sources.push_back(lookUp(section, word));
    else if (key == "trip_sensor")
      section.trip = lookUp(section, words.empty() ? Word{"", property.key.at} : words.front());
    else if (key == "level_table")
      appendLevels(section, words);
    else if (key == "node_path" && !words.empty())
      section.nodePath = words.front();
    else if (key == "file_name" && !words.empty() && section.readByDaemon)
      environment.confFileName = words.front();
  }

  // A name that is not there gets an entry without a sensor.
  Reference lookUp(const Section& section, const Word& word) {
    if (section.readByDaemon) environment.sensors[word.text];
    return {word, sensors[word.text]};
  }

  void enter(const Section& section) {
    if (section.isSensor()) {
      sensors[section.name] = &section;
      if (section.readByDaemon) environment.sensors[section.name] = &section;
    }
    if (section.isDevice() && section.readByDaemon) environment.devices[section.name] = &section;
  }

  Environment& environment;
  PlacedText text;
  // Those of the sections that the daemon does not come to, too.
  std::map<std::string, const Section*> sensors;
};

template <typename Map> const Section* entryOf(const Map& map, const std::string& name) {
  const auto found = map.find(name);
  return found == map.end() ? nullptr : found->second;
}

} // namespace

SectionKind sectionKind(const std::string& word) {
  static const std::map<std::string, SectionKind> kinds = {
      {"real", SectionKind::kReal},          {"virtual", SectionKind::kVirtual},
      {"conf_file", SectionKind::kConfFile}, {"camera", SectionKind::kDevice},
      {"report", SectionKind::kDevice},      {"charger", SectionKind::kDevice},
      {"cpufreq", SectionKind::kDevice},     {"gpufreq", SectionKind::kDevice},
      {"backlight", SectionKind::kDevice},   {"cpuhotplug", SectionKind::kDevice},
  };
  const auto kind = kinds.find(word);
  return kind == kinds.end() ? SectionKind::kUnknown : kind->second;
}

const std::vector<std::string>& sectionKindWords() {
  static const std::vector<std::string> words = {"real",      "virtual",   "conf_file", "camera",
                                                 "report",    "charger",   "cpufreq",   "gpufreq",
                                                 "backlight", "cpuhotplug"};
  return words;
}

const std::vector<std::string>& sectionKeys(SectionKind kind) {
  static const std::vector<std::string> real = {"sampling", "node_path"};
  static const std::vector<std::string> virtualSensor = {"sampling", "set_point",  "set_point_clr",
                                                         "sensors",  "math",       "offsets",
                                                         "weights",  "trip_sensor"};
  static const std::vector<std::string> confFile = {"file_name"};
  static const std::vector<std::string> device = {"node_path", "level_table"};
  switch (kind) {
  case SectionKind::kReal:
    return real;
  case SectionKind::kVirtual:
    return virtualSensor;
  case SectionKind::kConfFile:
    return confFile;
  default:
    return device;
  }
}

int32_t Section::weightSum() const {
  int32_t sum = 0;
  for (const Number& weight : weights)
    sum = wrapAdd(sum, weight.value);
  return sum;
}

const Section* Environment::sensor(const std::string& name) const {
  return entryOf(sensors, name);
}

const Section* Environment::device(const std::string& name) const {
  return entryOf(devices, name);
}

const Section* Environment::named(const std::string& name) const {
  const auto found = std::find_if(sections.rbegin(), sections.rend(),
                                  [&name](const Section& s) { return s.name == name; });
  return found == sections.rend() ? nullptr : &*found;
}

Environment readEnvironment(std::string file, const std::string& content) {
  Environment environment;
  environment.file = std::move(file);
  Reader(environment, content).read();
  return environment;
}
