#include <algorithm>

#include "check/configuration/ConfigurationRules.h"
#include "check/configuration/Items.h"
#include "text/Nearest.h"

namespace {

using Error = ConfigurationError;

template <typename Visit>
void forEachError(const Subject& subject, Error::Failure failure, Visit visit) {
  for (const Configuration& configuration : subject.configurations)
    for (const Error& error : configuration.errors)
      if (error.failure == failure) visit(configuration, error);
}

template <typename Visit>
void forEachItemDue(const Subject& subject, Error::Expected place, Visit visit) {
  forEachError(subject, Error::kNoItem,
               [&](const Configuration& configuration, const Error& error) {
                 if (error.expected == place) visit(configuration, error);
               });
}

// "a blank line", "the end of the file" or the word itself: what the daemon finds instead.
std::string whatStands(const Error& error) {
  switch (error.found) {
  case Error::kBlankLine:
    return "a blank line";
  case Error::kEndOfFile:
    return "the end of the file";
  default:
    return quoted(error.word.text);
  }
}

bool startsWith(const std::string& text, const char* start) {
  return text.rfind(start, 0) == 0;
}

bool isComment(const std::string& word) {
  return word[0] == '#' || word[0] == ';' || startsWith(word, "//");
}

bool isKey(const std::string& word) {
  for (const ItemKind kind : {ItemKind::kMonitor, ItemKind::kSS})
    for (const std::string& key : itemKeys(kind))
      if (key == word) return true;
  return word == "algo_type";
}

struct Reason {
  std::string message;
  std::string hint;
};

Reason whyNoItem(const std::string& word) {
  // First, for what follows the mark is a part of the same word.
  if (startsWith(word, "\xEF\xBB\xBF"))
    return {"the file begins with a byte order mark and not with '[' or 'SCEN'",
            "save the file without a byte order mark"};
  if (isComment(word))
    return {"a comment stands where an item, 'SCEN' or ']' must begin",
            "there are no comments: take the line out"};
  if (isKey(word))
    return {
        quoted(word) +
            " stands outside of any item, behind the blank line or the ']' that ended the last one",
        "take out the blank line or the ']' above"};
  const std::string hint = didYouMean(word, {"SCEN"});
  return {quoted(word) + " stands where an item, 'SCEN' or ']' must begin",
          hint.empty() ? "write an item's name in brackets: [" + word + "]" : hint};
}

void noItemLine(const Subject& subject, Findings& findings) {
  forEachItemDue(subject, Error::kHeader, [&](const Configuration& configuration, const Error& e) {
    const Reason reason = whyNoItem(e.word.text);
    findings.add(configuration.file, e.word, ending(configuration, e) + reason.message,
                 reason.hint);
  });
}
constexpr Rule kNoItemLine = {
    "no-item-line", Severity::kError,
    "Between two items the daemon accepts a header in brackets, a 'SCEN' line or a ']'. Anything "
    "else, such as a comment, a key behind a blank line too many, or a byte order mark at the "
    "start of the file, ends it: it logs \"Each item should be started with 'SCEN' or embraced "
    "with [name]\" and exits with status 0, at start and in a live swap alike, and the phone has "
    "no thermal protection. There are no comments, and a blank line always ends an item.",
    noItemLine};

void scenarioWithoutItem(const Subject& subject, Findings& findings) {
  forEachItemDue(subject, Error::kHeaderBehindScenario,
                 [&](const Configuration& configuration, const Error& error) {
                   findings.add(configuration.file, error.word,
                                ending(configuration, error) + whatStands(error) +
                                    " follows a 'SCEN' line, and an item must",
                                error.found == Error::kBlankLine
                                    ? "take out the blank line below 'SCEN'"
                                    : "write an item directly below 'SCEN', or take 'SCEN' out");
                 });
}
constexpr Rule kScenarioWithoutItem = {
    "scenario-without-item", Severity::kError,
    "A 'SCEN' line must be followed by the header of an item on the very next line, so a "
    "scenario without an item cannot be written. A blank line there, a second 'SCEN', a ']', a "
    "key or the end of the file ends the daemon with \"Each item should be started with 'SCEN' "
    "or embraced with [name]\" and status 0.",
    scenarioWithoutItem};

void bracketWithoutItem(const Subject& subject, Findings& findings) {
  forEachItemDue(subject, Error::kHeaderBehindBracket,
                 [&](const Configuration& configuration, const Error& error) {
                   findings.add(configuration.file, error.word,
                                ending(configuration, error) + whatStands(error) +
                                    " follows a ']' that closes a scenario, and an item must",
                                "take the ']' out: the next 'SCEN' line ends a scenario");
                 });
}
constexpr Rule kBracketWithoutItem = {
    "bracket-without-item", Severity::kError,
    "A ']' behind an item that has ended already closes the scenario, and the very next line "
    "must be the header of an item. A ']' at the end of the file, before a blank line, before "
    "'SCEN' or before another ']' therefore ends the daemon with \"Each item should be started "
    "with 'SCEN' or embraced with [name]\" and status 0. No scenario needs closing: the next "
    "'SCEN' line does it, and 'SCEN Default' leads back.",
    bracketWithoutItem};

std::string hintForTypeLine(const Error& error) {
  if (error.found == Error::kBlankLine) return "take out the blank line below the header";
  const std::string hint =
      error.found == Error::kOtherWord ? didYouMean(error.word.text, {"algo_type"}) : std::string();
  return hint.empty() ? "write 'algo_type monitor' or 'algo_type ss' directly below the header"
                      : hint;
}

void noTypeLine(const Subject& subject, Findings& findings) {
  forEachError(
      subject, Error::kNoType, [&](const Configuration& configuration, const Error& error) {
        findings.add(configuration.file, error.word,
                     ending(configuration, error) + whatStands(error) + " follows the header of " +
                         quoted(error.item->name) + ", and 'algo_type' must",
                     hintForTypeLine(error));
      });
}
constexpr Rule kNoTypeLine = {
    "no-type-line", Severity::kError,
    "The line directly below an item's header must be 'algo_type monitor' or 'algo_type ss'. A "
    "blank line, another key or the end of the file there ends the daemon with \"Each item's "
    "property should contain & start with 'algo_type'\" and status 0.",
    noTypeLine};

void unknownType(const Subject& subject, Findings& findings) {
  forEachError(subject, Error::kBadType, [&](const Configuration& configuration, const Error& e) {
    const bool none = e.found == Error::kNoWord;
    const std::string hint = none ? "" : didYouMean(e.word.text, {"monitor", "ss"});
    findings.add(configuration.file, e.word,
                 ending(configuration, e) + (none ? "no kind of item stands behind 'algo_type'"
                                                  : quoted(e.word.text) + " is no kind of item"),
                 hint.empty() ? "write 'algo_type monitor' or 'algo_type ss'" : hint);
  });
}
constexpr Rule kUnknownType = {
    "unknown-type", Severity::kError,
    "The word behind 'algo_type' must be 'monitor' or 'ss', in small letters. Any other word "
    "ends the daemon with \"Algo type should be 'monitor' or 'SS'\" and status 0; the capitals "
    "in that message are misleading, for 'SS' is refused.",
    unknownType};

// A key that has a line, or a slip for one, is another rule's.
std::vector<std::string> keysWithoutLine(const Item& item) {
  std::vector<std::string> keys;
  for (const std::string& key : item.missing)
    if (!item.last(key) && !misspelt(item, key)) keys.push_back(key);
  return keys;
}

void missingProperty(const Subject& subject, Findings& findings) {
  forEachItem(subject, [&](const Configuration& configuration, const Item& item) {
    const std::vector<std::string> keys = keysWithoutLine(item);
    if (keys.empty()) return;
    const bool ends = std::any_of(keys.begin(), keys.end(), [&](const std::string& key) {
      return endsForWantOf(configuration, item, key);
    });
    findings.add(configuration.file, item.header,
                 ending(ends) + quoted(item.name) + " lacks " + listed(keys));
  });
}
constexpr Rule kMissingProperty = {
    "missing-property", Severity::kError,
    "A monitor needs 'sensor', 'thresholds', 'thresholds_clr', 'actions' and 'action_info'; an "
    "ss item needs 'sensor', 'device', 'set_point' and 'set_point_clr'. Without one of them the "
    "daemon ends with \"There is some missing property for\" and the item's name, and status 0. "
    "It does not say which one is missing.",
    missingProperty};

void checkForZero(const Configuration& configuration, const Item& item, const char* key,
                  const Number& point, Findings& findings) {
  // A word without digits is 0, too, but that is what another rule tells.
  if (point.word.text.empty() || point.value != 0 || !sound(point)) return;
  findings.add(configuration.file, point.word,
               "the daemon takes 0 for no value" + endForWantOf(configuration, item, key),
               "write 1: a thousandth of a degree more");
}

void setPointZero(const Subject& subject, Findings& findings) {
  forEachItem(subject, [&](const Configuration& configuration, const Item& item) {
    checkForZero(configuration, item, "set_point", item.setPoint, findings);
    checkForZero(configuration, item, "set_point_clr", item.setPointClr, findings);
  });
}
constexpr Rule kSetPointZero = {
    "set-point-zero", Severity::kError,
    "The daemon cannot tell a set point of 0 from one that is not there: 'set_point 0' or "
    "'set_point_clr 0' ends it with \"There is some missing property for\" and the item's name, "
    "and status 0. For the freezing point write 1, a thousandth of a degree more.",
    setPointZero};

} // namespace

const std::vector<Rule>& endRules() {
  static const std::vector<Rule> rules = {kNoItemLine,  kScenarioWithoutItem, kBracketWithoutItem,
                                          kNoTypeLine,  kUnknownType,         kMissingProperty,
                                          kSetPointZero};
  return rules;
}
