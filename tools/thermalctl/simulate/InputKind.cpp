#include "simulate/InputKind.h"

#include <algorithm>
#include <optional>
#include <sstream>

#include "base/TextReader.h"
#include "board/TextKind.h"
#include "text/Affixes.h"
#include "trace/CsvFormat.h"

namespace {

constexpr char kTimeColumn[] = "time";

struct Foreign {
  std::string what;
  std::string hint{};
  Position at{1, 1};
  size_t length = 1;
};

const char* nameOf(InputKind kind) {
  switch (kind) {
  case InputKind::kEnvironment:
    return "an environment file";
  case InputKind::kConfiguration:
    return "a configuration";
  case InputKind::kPlant:
    return "a plant";
  case InputKind::kWorkload:
    break;
  }
  return "a workload";
}

const char* optionOf(InputKind kind) {
  switch (kind) {
  case InputKind::kEnvironment:
    return "--env";
  case InputKind::kConfiguration:
    return "--conf";
  case InputKind::kPlant:
    return "--plant";
  case InputKind::kWorkload:
    break;
  }
  return "--workload";
}

Foreign swapped(InputKind found, InputKind named, const Position& at, size_t length) {
  return {"this is " + std::string(nameOf(found)) + "; did you swap " + optionOf(found) + " and " +
              optionOf(named) + "?",
          "", at, length};
}

std::optional<Foreign> foreignBytes(const TextKind& kind) {
  const auto length = std::max<size_t>(kind.at.text.size(), 1);
  switch (kind.kind) {
  case TextKind::kByteOrderMark:
    return Foreign{"the file begins with U+FEFF, a byte order mark",
                   "save the file as UTF-8 without a byte order mark", kind.at.at, length};
  case TextKind::kUtf16:
    return Foreign{"this is UTF-16, with two bytes for each character", "save the file as UTF-8"};
  case TextKind::kCarriageReturns:
    return Foreign{"the lines end with carriage returns alone",
                   "save the file with line feeds at the ends of its lines", kind.at.at, length};
  case TextKind::kBinary:
    return Foreign{"this is a binary file and no text", "name the file that was meant"};
  case TextKind::kEmpty:
    return Foreign{"the file is empty", "name the file that was meant"};
  default:
    return std::nullopt;
  }
}

// The first line that gives the kind away.
std::optional<Foreign> foreignLine(const std::string& text, InputKind named) {
  std::istringstream lines(text);
  int number = 0;
  for (std::string line; std::getline(lines, line);) {
    ++number;
    const size_t indent = std::min(line.find_first_not_of(kWhiteSpace), line.size());
    trim(line);
    const TextKind::Kind kind = kindOfLine(line);
    if (kind == TextKind::kText) continue;
    const InputKind found = kind == TextKind::kPlant ? InputKind::kPlant : InputKind::kWorkload;
    if (found == named) return std::nullopt;
    return swapped(found, named, {number, static_cast<int>(indent) + 1}, line.size());
  }
  return std::nullopt;
}

// A table whose cells are not separated by commas.
std::optional<Foreign> foreignCells(const std::string& text) {
  std::istringstream lines(text);
  int number = 0;
  for (std::string line; std::getline(lines, line);) {
    ++number;
    if (line.empty() || line[0] == '#') continue;
    const size_t end = sizeof kTimeColumn - 1;
    if (!startsWith(line, kTimeColumn) || line.size() == end) return std::nullopt;
    if (line[end] != ';' && line[end] != '\t') return std::nullopt;
    return Foreign{std::string("the cells are separated by ") +
                       (line[end] == ';' ? "semicolons" : "tabs"),
                   "export the table with commas between its cells, and points in its numbers",
                   {number, static_cast<int>(end) + 1}};
  }
  return std::nullopt;
}

// By lines before bytes, and by bytes before sections: the surest sign tells, and a plant that was
// named as a workload is that and no table with the wrong separators.
std::optional<Foreign> foreignOf(const std::string& text, InputKind named) {
  if (startsWith(text, csv::header()))
    return Foreign{"this is the trace of a run; thermalctl plot shows it"};
  if (auto line = foreignLine(text, named)) return line;
  if (named == InputKind::kEnvironment || named == InputKind::kConfiguration) return std::nullopt;
  const TextKind kind = textKindOf(text);
  if (auto bytes = foreignBytes(kind)) return bytes;
  if (kind.kind == TextKind::kEnvironment)
    return swapped(InputKind::kEnvironment, named, kind.at.at, kind.at.text.size());
  if (kind.kind == TextKind::kConfiguration)
    return swapped(InputKind::kConfiguration, named, kind.at.at, kind.at.text.size());
  return named == InputKind::kWorkload ? foreignCells(text) : std::nullopt;
}

} // namespace

bool tellIfForeign(const std::string& text, const std::string& file, InputKind named,
                   Problems& problems) {
  const std::optional<Foreign> foreign = foreignOf(text, named);
  if (!foreign) return false;
  problems.read(file, text);
  problems.add({file, {foreign->at, foreign->length}, foreign->what, foreign->hint});
  return true;
}
