#include "text/LookAlikes.h"

#include <algorithm>
#include <iterator>
#include <utility>

#include <fmt/format.h>
#include <utf8.h>

#include "text/Characters.h"

namespace {

struct Range {
  char32_t first;
  char32_t last;
};

template <size_t Size> bool isIn(const Range (&ranges)[Size], char32_t character) {
  return std::any_of(std::begin(ranges), std::end(ranges), [character](const Range& range) {
    return range.first <= character && character <= range.last;
  });
}

constexpr Range kInvisible[] = {
    {0x00AD, 0x00AD}, {0x034F, 0x034F}, {0x061C, 0x061C}, {0x115F, 0x1160},  {0x17B4, 0x17B5},
    {0x180B, 0x180E}, {0x200B, 0x200F}, {0x202A, 0x202E}, {0x2060, 0x206F},  {0x3164, 0x3164},
    {0xFE00, 0xFE0F}, {0xFEFF, 0xFEFF}, {0xFFA0, 0xFFA0}, {0xE0000, 0xE007F}};
constexpr Range kSpaces[] = {{0x0085, 0x0085}, {0x00A0, 0x00A0}, {0x1680, 0x1680},
                             {0x2000, 0x200A}, {0x2028, 0x2029}, {0x202F, 0x202F},
                             {0x205F, 0x205F}, {0x3000, 0x3000}};
constexpr Range kDashes[] = {
    {0x2010, 0x2015}, {0x2212, 0x2212}, {0xFE58, 0xFE58}, {0xFE63, 0xFE63}};
// The printable characters of ASCII in the same order, as wide as a Chinese sign.
constexpr Range kFullWidth[] = {{0xFF01, 0xFF5E}};
// Where the digits of a script begin.
constexpr char32_t kZeros[] = {0x0660, 0x06F0,  0x0966,  0x09E6,  0x0A66,  0x0AE6, 0x0BE6,
                               0x0C66, 0x0E50,  0x0ED0,  0x0F20,  0x1040,  0x17E0, 0x2070,
                               0x2080, 0x1D7CE, 0x1D7D8, 0x1D7E2, 0x1D7EC, 0x1D7F6};

constexpr std::pair<char32_t, const char*> kCyrillic[] = {
    {0x0405, "S"}, {0x0406, "I"}, {0x0408, "J"}, {0x0410, "A"}, {0x0412, "B"}, {0x0415, "E"},
    {0x041A, "K"}, {0x041C, "M"}, {0x041D, "H"}, {0x041E, "O"}, {0x0420, "P"}, {0x0421, "C"},
    {0x0422, "T"}, {0x0423, "Y"}, {0x0425, "X"}, {0x042C, "b"}, {0x0430, "a"}, {0x0435, "e"},
    {0x043E, "o"}, {0x0440, "p"}, {0x0441, "c"}, {0x0443, "y"}, {0x0445, "x"}, {0x0455, "s"},
    {0x0456, "i"}, {0x0458, "j"}, {0x04AF, "y"}, {0x04BB, "h"}, {0x0501, "d"}, {0x051B, "q"},
    {0x051D, "w"},
};
constexpr std::pair<char32_t, const char*> kGreek[] = {
    {0x0391, "A"}, {0x0392, "B"}, {0x0395, "E"}, {0x0396, "Z"}, {0x0397, "H"}, {0x0399, "I"},
    {0x039A, "K"}, {0x039C, "M"}, {0x039D, "N"}, {0x039F, "O"}, {0x03A1, "P"}, {0x03A4, "T"},
    {0x03A5, "Y"}, {0x03A7, "X"}, {0x03B1, "a"}, {0x03B9, "i"}, {0x03BA, "k"}, {0x03BD, "v"},
    {0x03BF, "o"}, {0x03C1, "p"}, {0x03C5, "u"}, {0x03C7, "x"},
};
constexpr std::pair<char32_t, const char*> kOthers[] = {
    {0x00AB, "\""},  {0x00B2, "2"}, {0x00B3, "3"},  {0x00B4, "'"},  {0x00B9, "1"},  {0x00BB, "\""},
    {0x00D7, "x"},   {0x0131, "i"}, {0x017F, "s"},  {0x02BA, "\""}, {0x02BC, "'"},  {0x02D0, ":"},
    {0x037E, ";"},   {0x060C, ","}, {0x066B, ","},  {0x066C, ","},  {0x2018, "'"},  {0x2019, "'"},
    {0x201A, ","},   {0x201B, "'"}, {0x201C, "\""}, {0x201D, "\""}, {0x201E, "\""}, {0x201F, "\""},
    {0x2026, "..."}, {0x2032, "'"}, {0x2033, "\""}, {0x2044, "/"},  {0x2113, "l"},  {0x212A, "K"},
    {0x2215, "/"},   {0x2217, "*"}, {0x2236, ":"},  {0x2795, "+"},  {0x3010, "["},  {0x3011, "]"},
    {0x3014, "["},   {0x3015, "]"}, {0xFB00, "ff"}, {0xFB01, "fi"}, {0xFB02, "fl"},
};

template <size_t Size>
const char* meantIn(const std::pair<char32_t, const char*> (&table)[Size], char32_t character) {
  const auto found =
      std::find_if(std::begin(table), std::end(table),
                   [character](const auto& each) { return each.first == character; });
  return found == std::end(table) ? nullptr : found->second;
}

// In UTF-8, of one that is not of ASCII.
size_t bytesOf(char32_t character) {
  return character < 0x800 ? 2 : character < 0x10000 ? 3 : 4;
}

std::optional<char> digitOf(char32_t character) {
  for (const char32_t zero : kZeros)
    if (character >= zero && character < zero + 10)
      return static_cast<char>('0' + character - zero);
  return std::nullopt;
}

// By what hides best: signs that are not seen at all, then those that look like a space, a dash, a
// letter or a digit of ASCII.
std::optional<LookAlike> lookAlike(char32_t character) {
  if (character < 0x80) return std::nullopt;
  if (isInvisible(character))
    return LookAlike{0, bytesOf(character), character, "an invisible character", ""};
  if (isIn(kSpaces, character))
    return LookAlike{0, bytesOf(character), character, "a space that separates no words", " "};
  if (isIn(kDashes, character)) return LookAlike{0, bytesOf(character), character, "a dash", "-"};
  if (isIn(kFullWidth, character))
    return LookAlike{0, bytesOf(character), character, "a full-width character",
                     std::string(1, static_cast<char>(character - 0xFF01 + '!'))};
  if (const char* meant = meantIn(kCyrillic, character))
    return LookAlike{0, bytesOf(character), character, "a Cyrillic letter", meant};
  if (const char* meant = meantIn(kGreek, character))
    return LookAlike{0, bytesOf(character), character, "a Greek letter", meant};
  if (const char* meant = meantIn(kOthers, character))
    return LookAlike{0, bytesOf(character), character, "a sign", meant};
  if (const std::optional<char> digit = digitOf(character))
    return LookAlike{0, bytesOf(character), character, "a digit", std::string(1, *digit)};
  return std::nullopt;
}

// The text with what `instead` gives in place of each such character.
template <typename Instead> std::string replaced(std::string_view text, Instead instead) {
  std::string result;
  size_t done = 0;
  eachCharacter(text, [&](size_t start, char32_t character) {
    const std::optional<LookAlike> other = lookAlike(character);
    if (!other) return;
    result += text.substr(done, start - done);
    result += instead(*other);
    done = start + other->length;
  });
  result += text.substr(done);
  return result;
}

} // namespace

std::optional<LookAlike> firstLookAlike(std::string_view text) {
  std::optional<LookAlike> first;
  eachCharacter(text, [&first](size_t start, char32_t character) {
    if (first) return;
    first = lookAlike(character);
    if (first) first->start = start;
  });
  return first;
}

std::string asRead(std::string_view text) {
  return replaced(text, [](const LookAlike& other) { return other.meant; });
}

std::string withCodePoints(std::string_view text) {
  return replaced(text, [](const LookAlike& other) {
    if (other.meant.empty() || other.meant == " ") return "<" + codePoint(other.number) + ">";
    return utf8::utf32to8(std::u32string(1, other.number));
  });
}

bool isInvisible(char32_t character) {
  return isIn(kInvisible, character);
}

std::string codePoint(char32_t character) {
  return fmt::format("U+{:04X}", static_cast<uint32_t>(character));
}
