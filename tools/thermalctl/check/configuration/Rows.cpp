#include "check/configuration/Rows.h"

#include <algorithm>

#include "check/rule/Keys.h"

namespace {

// The daemon puts the pieces of a second line into the rows of the first: what a rule would compare
// then is nothing that anyone wrote.
bool isOneLineOfRows(const Item& item, const char* key) {
  const Property* line = item.last(key);
  return line && !firstLike(item, *line) &&
         std::none_of(line->words.begin(), line->words.end(), hasStrayPlus);
}

} // namespace

bool hasStrayPlus(const Word& word) {
  return word.text.front() == '+' || word.text.back() == '+' ||
         word.text.find("++") != std::string::npos;
}

bool rowsAsWritten(const Item& item) {
  return isOneLineOfRows(item, "actions") && isOneLineOfRows(item, "action_info");
}
