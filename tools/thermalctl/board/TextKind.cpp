#include "board/TextKind.h"

#include <algorithm>
#include <initializer_list>
#include <set>
#include <string_view>
#include <vector>

#include "base/TextReader.h"
#include "board/Configuration.h"
#include "board/Environment.h"
#include "config/ConfGrammar.h"
#include "config/EnvGrammar.h"
#include "text/Affixes.h"
#include "text/Characters.h"

namespace {

using Kind = TextKind::Kind;

constexpr char kMark[] = "\xEF\xBB\xBF";

// The place of a byte, and as much as is to be marked there.
TextKind found(Kind kind, const std::string& content, size_t at, size_t length = 1) {
  const std::string before = content.substr(0, at);
  const auto line = static_cast<int>(std::count(before.begin(), before.end(), '\n')) + 1;
  const size_t lineStart = before.rfind('\n') + 1;
  return {kind, {content.substr(at, length), {line, static_cast<int>(at - lineStart) + 1}}};
}

// Two bytes for each character, one of them 0 in a text of Latin letters: which, the byte order
// says.
bool isUtf16(const std::string& content) {
  if (startsWith(content, "\xFF\xFE") || startsWith(content, "\xFE\xFF")) return true;
  size_t zeros[2] = {0, 0};
  for (size_t i = 0; i < content.size(); ++i)
    if (content[i] == '\0') ++zeros[i % 2];
  const size_t half = content.size() / 2;
  // Nine of ten characters have a 0 in one byte, and at most one of ten in the other.
  return half > 1 && std::max(zeros[0], zeros[1]) * 10 >= half * 9 &&
         std::min(zeros[0], zeros[1]) * 10 <= half;
}

// An escape is one of a terminal's, which a text may hold.
bool isControl(char byte) {
  return static_cast<unsigned char>(byte) < 0x20 && byte != '\x1B' &&
         std::string_view(kWhiteSpace).find(byte) == std::string_view::npos;
}

// The first byte that no text has, if there are a NUL or many others.
size_t binaryByte(const std::string& content) {
  const auto controls =
      static_cast<size_t>(std::count_if(content.begin(), content.end(), isControl));
  if (content.find('\0') == std::string::npos && controls * 10 <= content.size())
    return std::string::npos;
  return static_cast<size_t>(std::find_if(content.begin(), content.end(), isControl) -
                             content.begin());
}

// The first carriage return that another text follows on its line, if most line ends are such.
size_t loneReturn(const std::string& content) {
  size_t first = std::string::npos;
  size_t lone = 0;
  for (size_t at = content.find('\r'); at != std::string::npos; at = content.find('\r', at + 1)) {
    const size_t next = content.find_first_not_of('\r', at);
    if (next == std::string::npos || content[next] == '\n') continue;
    if (lone++ == 0) first = at;
  }
  const auto feeds = static_cast<size_t>(std::count(content.begin(), content.end(), '\n'));
  return lone > 1 && lone > feeds ? first : std::string::npos;
}

// A line that has a word, and its first two.
struct LineStart {
  size_t start; // in the content
  std::string_view text;
  std::string_view first;
  std::string_view second;

  // Where its first word stands in the content.
  size_t at() const { return start + static_cast<size_t>(first.data() - text.data()); }
};

// As the daemon's own reader has it.
bool isSpace(char byte) {
  return byte == ' ' || (byte >= '\t' && byte <= '\r');
}

std::string_view takeWord(std::string_view& rest) {
  const auto begin = std::find_if_not(rest.begin(), rest.end(), isSpace);
  const auto end = std::find_if(begin, rest.end(), isSpace);
  const auto skipped = static_cast<size_t>(begin - rest.begin());
  const std::string_view word = rest.substr(skipped, static_cast<size_t>(end - begin));
  rest.remove_prefix(skipped + word.size());
  return word;
}

std::vector<LineStart> linesOf(std::string_view content) {
  std::vector<LineStart> lines;
  for (size_t start = 0; start < content.size();) {
    const size_t end = std::min(content.find('\n', start), content.size());
    LineStart line{start, content.substr(start, end - start), {}, {}};
    std::string_view rest = line.text;
    line.first = takeWord(rest);
    line.second = takeWord(rest);
    if (!line.first.empty()) lines.push_back(line);
    start = end + 1;
  }
  return lines;
}

std::set<std::string> allKeys() {
  std::set<std::string> keys = {kSectionTypeKey, kItemTypeKey, kScenarioKey};
  const auto add = [&keys](const std::vector<std::string>& more) {
    keys.insert(more.begin(), more.end());
  };
  add(itemKeys(ItemKind::kMonitor));
  add(itemKeys(ItemKind::kSS));
  for (const std::string& kind : sectionKindWords())
    add(sectionKeys(sectionKind(kind)));
  return keys;
}

bool isKnownKey(const std::string& word) {
  // Asked of every line that has a comma, which in a plant are most.
  static const std::set<std::string> keys = allKeys();
  return keys.count(word) > 0;
}

// Where the first cell of a line ends, if a spreadsheet made it: a header, a key or nothing stands
// in it, and the values in the next ones.
size_t cellEnd(const LineStart& line) {
  const size_t end = std::min(line.text.find(';'), line.text.find(','));
  if (end == std::string::npos) return end;
  std::string cell(line.text.substr(0, end));
  cell.erase(std::remove(cell.begin(), cell.end(), '"'), cell.end());
  trim(cell);
  const bool isCell = cell.empty() || cell.front() == '[' || isKnownKey(cell);
  return isCell ? end : std::string::npos;
}

TextKind separated(const std::string& content, const std::vector<LineStart>& lines) {
  size_t cells = 0;
  TextKind kind;
  for (const LineStart& line : lines) {
    const size_t end = cellEnd(line);
    if (end != std::string::npos && cells++ == 0)
      kind = found(Kind::kSeparators, content, line.start + end);
  }
  // A comma in one line is a slip of its own; most lines of a spreadsheet have one.
  return cells > 1 && cells * 2 > lines.size() ? kind : TextKind();
}

// By the lines that only one of the two has, and has in every block.
TextKind kindByKeys(const std::string& content, const std::vector<LineStart>& lines) {
  const LineStart* section = nullptr;
  const LineStart* item = nullptr;
  for (const LineStart& line : lines) {
    if (line.first == kSectionTypeKey && !section &&
        sectionKind(lowerCase(std::string(line.second))) != SectionKind::kUnknown)
      section = &line;
    if ((line.first == kItemTypeKey || line.first == kScenarioKey) && !item) item = &line;
  }
  // Both, or none: then it is not a matter of two files that were swapped.
  if (!section == !item) return {};
  const LineStart& line = section ? *section : *item;
  return found(section ? Kind::kEnvironment : Kind::kConfiguration, content, line.at(),
               line.first.size());
}

// By the first line that gives a plant or a workload away.
TextKind kindByLine(const std::string& content, const std::vector<LineStart>& lines) {
  for (const LineStart& line : lines) {
    const Kind kind = kindOfLine(line.text.substr(line.at() - line.start));
    if (kind != Kind::kText) return found(kind, content, line.at(), line.first.size());
  }
  return {};
}

} // namespace

TextKind::Kind kindOfLine(std::string_view line) {
  const auto startsWithAny = [&line](std::initializer_list<const char*> starts) {
    return std::any_of(starts.begin(), starts.end(),
                       [&line](const char* start) { return startsWith(line, start); });
  };
  if (startsWithAny({"[node.", "[sensor.", "[source.", "[[resistance]]"})) return Kind::kPlant;
  if (startsWithAny({"[[at]]", "time,", "time;", "time\t"})) return Kind::kWorkload;
  return Kind::kText;
}

TextKind textKindOf(const std::string& content) {
  // From the bytes to the words: a text of two bytes for each character is full of zeros, and
  // would count as binary.
  if (isUtf16(content)) return found(Kind::kUtf16, content, 0);
  if (startsWith(content, kMark)) return found(Kind::kByteOrderMark, content, 0, sizeof kMark - 1);
  const size_t binary = binaryByte(content);
  if (binary != std::string::npos) return found(Kind::kBinary, content, binary);
  const size_t lone = loneReturn(content);
  if (lone != std::string::npos) return found(Kind::kCarriageReturns, content, lone);
  const std::vector<LineStart> lines = linesOf(content);
  if (lines.empty()) return {Kind::kEmpty, {}};
  TextKind cells = separated(content, lines);
  if (cells.kind != Kind::kText) return cells;
  const TextKind own = kindByKeys(content, lines);
  return own.kind == Kind::kText ? kindByLine(content, lines) : own;
}

bool isUnreadable(TextKind::Kind kind) {
  return kind >= Kind::kByteOrderMark;
}
