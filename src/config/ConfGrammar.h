#pragma once

#include <optional>

// How the lines of a configuration make up scenarios and items: a header line, a type line and
// property lines up to a blank line or "]"; scenario lines between the items. `text` is a
// TextReader, and `parts` takes each part where its word is the one in hand.

inline constexpr char kScenarioKey[] = "SCEN";
inline constexpr char kItemTypeKey[] = "algo_type";

// Why an item, and with it the file, is not read on.
//
// Errors: the daemon logs the first of a file, and ends.
struct ConfError {
  enum Failure { kNoItem, kNoType, kBadType, kMissingProperty };
};

template <typename Text, typename Parts> void readProperties(Text& text, Parts& parts) {
  // A blank line right after the type line ends nothing: the type word is then taken for a key that
  // means nothing. Nor is the first key tested for the "]" that ends an item.
  text.advance();
  do
    parts.takeProperty();
  while (text.advance() && text.word() != "]");
}

// Reads an item, and the scenario line above it if there is one, from the first word on. After a
// failure the line that caused it is in hand.
template <typename Text, typename Parts>
std::optional<ConfError::Failure> readItem(Text& text, Parts& parts) {
  if (text.word() == "]") {
    parts.leaveScenario();
    text.advance();
  } else if (text.word() == kScenarioKey) {
    parts.enterScenario();
    text.advance();
  }
  if (text.word()[0] != '[') return ConfError::kNoItem;
  parts.beginItem();
  text.advance();
  if (text.word() != kItemTypeKey) return ConfError::kNoType;
  if (!parts.takeKind()) return ConfError::kBadType;
  readProperties(text, parts);
  return parts.endItem();
}
