#include "log/LogLine.h"

#include <algorithm>
#include <charconv>
#include <iterator>
#include <utility>

namespace {

// Takes a text apart from its start on; a step that does not fit spoils the rest.
class Scanner {
public:
  explicit Scanner(std::string_view text) : rest(text) {}

  Scanner& literal(std::string_view expected) {
    if (rest.substr(0, expected.size()) == expected)
      rest.remove_prefix(expected.size());
    else
      fits = false;
    return *this;
  }

  // The name up to `end`, which is taken too. A name is one word: with a space in it, it would be
  // two messages run together.
  Scanner& upTo(std::string_view end, std::string_view& found) {
    const size_t at = rest.find(end);
    found = rest.substr(0, at);
    if (at == std::string_view::npos || found.find(' ') != std::string_view::npos)
      fits = false;
    else
      rest.remove_prefix(at + end.size());
    return *this;
  }

  Scanner& number(int32_t& found) {
    const auto taken = std::from_chars(rest.data(), rest.data() + rest.size(), found);
    if (taken.ec != std::errc())
      fits = false;
    else
      rest.remove_prefix(static_cast<size_t>(taken.ptr - rest.data()));
    return *this;
  }

  bool ended() const { return fits && rest.empty(); }

private:
  std::string_view rest;
  bool fits = true;
};

using Kind = LogLine::Kind;

bool parseSample(std::string_view text, LogLine& line) {
  line.kind = Kind::kSample;
  return Scanner(text)
      .literal("Sensor [")
      .upTo("], Scen [", line.name)
      .upTo("] temp(", line.scenario)
      .number(line.value)
      .literal(")")
      .ended();
}

bool parseVirtual(std::string_view text, LogLine& line) {
  line.kind = Kind::kVirtual;
  return Scanner(text)
      .literal("Sensor[")
      .upTo("] temp(", line.name)
      .number(line.value)
      .literal(")")
      .ended();
}

// The daemon writes its prefix twice before a decision; the first one is gone by now.
bool parseLevel(std::string_view text, LogLine& line) {
  line.kind = Kind::kLevel;
  int32_t temperature = 0;
  return Scanner(text)
      .literal(kMessageStart)
      .literal("Monitor [")
      .upTo("] temp(", line.name)
      .number(temperature)
      .literal(") status(")
      .number(line.before)
      .literal(" -> ")
      .number(line.value)
      .literal(")")
      .ended();
}

// A step algorithm has two messages of one beginning: a request gives the level asked for, the
// release behind it the number of steps that it ends.
Scanner stepScanner(std::string_view text, LogLine& line) {
  int32_t temperature = 0;
  return Scanner(text)
      .literal(kMessageStart)
      .literal("SS [")
      .upTo("] temp(", line.name)
      .number(temperature)
      .literal("->")
      .number(temperature)
      .literal(") status(");
}

bool parseRequest(std::string_view text, LogLine& line) {
  line.kind = Kind::kRequest;
  return stepScanner(text, line).number(line.value).literal(")").ended();
}

bool parseReleased(std::string_view text, LogLine& line) {
  line.kind = Kind::kReleased;
  return stepScanner(text, line).number(line.before).literal(" -> 0)").ended();
}

bool parseAwake(std::string_view text, std::string_view verb, LogLine& line) {
  return Scanner(text)
      .literal("Sensor [")
      .upTo("] ", line.sensor)
      .literal(verb)
      .literal(" Algo [")
      .upTo("], scen [", line.name)
      .upTo("]", line.scenario)
      .ended();
}

bool parseWoken(std::string_view text, LogLine& line) {
  line.kind = Kind::kWoken;
  return parseAwake(text, "activate", line);
}

bool parsePutToSleep(std::string_view text, LogLine& line) {
  line.kind = Kind::kPutToSleep;
  return parseAwake(text, "deactivate", line);
}

bool parseScenario(std::string_view text, LogLine& line) {
  constexpr std::string_view kStart = "All scenChangeDone to ";
  line.kind = Kind::kScenario;
  if (text.substr(0, kStart.size()) != kStart) return false;
  line.name = text.substr(kStart.size());
  return line.name.find(' ') == std::string_view::npos;
}

bool parseFixed(std::string_view text, LogLine& line) {
  static constexpr std::pair<std::string_view, Kind> kTexts[] = {
      {"Using Env Config!", Kind::kStart},
      {"EnvParse Passed!", Kind::kOther},
      {"ConfParse Passed!", Kind::kOther},
      {"initScenario Passed!", Kind::kOther},
      {"RunThreads Passed!", Kind::kOther},
      {"Start to apply new CONF file", Kind::kSwap},
      // The daemon's own spelling.
      {"Appling new CONF file is completed", Kind::kOther},
      {"No scen file", Kind::kOther},
      {"No conf file", Kind::kOther},
      {"[TalmorThermal] statusApply: Level Table is Empty", Kind::kOther},
  };
  const auto* found = std::find_if(std::begin(kTexts), std::end(kTexts),
                                   [text](const auto& known) { return known.first == text; });
  if (found == std::end(kTexts)) return false;
  line.kind = found->second;
  return true;
}

// Those with a part that varies and that no picture shows: what they begin and end with.
bool parseOther(std::string_view text, LogLine& line) {
  static constexpr std::pair<std::string_view, std::string_view> kShapes[] = {
      {"Conf file is copied!(", ")"},
      {"Can't open : ", ""},
      {"Can't open node: ", ""},
      {"Unreadable conf file : ", ""},
      {"[CONF PARSE FAIL] ", ""},
      {"[TalmorThermal] Device [", "] open failed"},
      {"ScenChange for sensor Thread is done [", "]"},
      {"Changing Scenario Start (", ")"},
      {"There is no scen name: ", ""},
      {"There is no conf file: ", ""},
      {"There is no scen name in new conf file: ", ""},
  };
  line.kind = Kind::kOther;
  return std::any_of(std::begin(kShapes), std::end(kShapes), [text](const auto& shape) {
    const auto& [start, end] = shape;
    return text.size() >= start.size() + end.size() && text.substr(0, start.size()) == start &&
           text.substr(text.size() - end.size()) == end;
  });
}

} // namespace

std::optional<LogLine> parseMessage(std::string_view text) {
  if (text.substr(0, kMessageStart.size()) != kMessageStart) return std::nullopt;
  text.remove_prefix(kMessageStart.size());
  // The frequent ones first.
  for (const auto parse : {parseSample, parseVirtual, parseLevel, parseRequest, parseReleased,
                           parseWoken, parsePutToSleep, parseScenario, parseFixed, parseOther}) {
    // A new one each time: one that does not fit in the end may have filled in a part.
    LogLine line;
    if (parse(text, line)) return line;
  }
  return std::nullopt;
}
