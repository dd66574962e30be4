#include <algorithm>

#include "check/configuration/ConfigurationRules.h"
#include "check/configuration/Ends.h"
#include "check/rule/Keys.h"
#include "check/rule/Numbers.h"
#include "check/rule/Visits.h"
#include "text/Nearest.h"
#include "text/Phrases.h"

// A rule for each place at which the daemon ends over a file: what stands there instead, and what
// must. The checker reads on behind it, so that there may be several errors in a file, of which
// the daemon meets the first alone.

namespace {

using Error = ConfigurationError;

template <Error::Expected Place> Check eachError(Look<Error> look) {
  return eachConfiguration(
      [look = std::move(look)](const Configuration& configuration, Context& context) {
        for (const Error& error : configuration.errors)
          if (error.expected == Place) look(error, context);
      });
}

// What the daemon finds instead.
std::string whatStands(const Error& error) {
  if (error.found == Error::kBlankLine) return "a blank line";
  if (error.found == Error::kEndOfFile) return "the end of the file";
  return quoted(error.word.text);
}

// Whether the daemon ends there, or for want of what stands there: the item above was cut off.
bool endsThere(const Error& error, const Configuration& configuration) {
  const Error* fatal = configuration.fatal();
  if (fatal == &error) return true;
  return fatal->item && !fatal->item->cutOff.empty() && &error == fatal + 1;
}

bool isKey(const std::string& word) {
  return word == "algo_type" || contains(itemKeys(ItemKind::kMonitor), word) ||
         contains(itemKeys(ItemKind::kSS), word);
}

// And what to write instead.
std::pair<Message, Message> whyNoItem(const std::string& word) {
  if (isComment(word))
    return {"a comment stands where an item, 'SCEN' or ']' must begin",
            "there are no comments: take the line out"};
  if (isKey(word))
    return {{"'{}' stands outside of any item, behind the blank line or the ']' that ended the "
             "last one",
             word},
            "take out the blank line or the ']' above"};
  return {{"'{}' stands where an item, 'SCEN' or ']' must begin", word},
          didYouMean(word, {"SCEN"}, "write an item's name in brackets: [" + word + "]")};
}

std::string hintForTypeLine(const Error& error) {
  if (error.found == Error::kBlankLine) return "take out the blank line below the header";
  return didYouMean(error.found == Error::kOtherWord ? error.word.text : "", {"algo_type"},
                    "write 'algo_type monitor' or 'algo_type ss' directly below the header");
}

// A key that has a line, or a slip for one, is another rule's.
std::vector<std::string> keysWithoutLine(const Item& item) {
  std::vector<std::string> keys;
  for (const std::string& key : item.missing)
    if (!item.last(key) && !misspelt(item, key)) keys.push_back(key);
  return keys;
}

} // namespace

const std::vector<Rule> kEndRules = {
    {"no-item-line", Severity::kError,
     "Between two items the daemon accepts a header in brackets, a 'SCEN' line or a ']'. Anything "
     "else, such as a comment or a key behind a blank line too many, ends it: it logs \"Each item "
     "should be started with 'SCEN' or embraced "
     "with [name]\" and exits with status 0, at start and in a live swap alike, and the phone has "
     "no thermal protection. There are no comments, and a blank line always ends an item.",
     eachError<Error::kHeader>([](const Error& error, Context& context) {
       const auto [message, hint] = whyNoItem(error.word.text);
       const bool ends = endsThere(error, *context.configuration);
       context.tell(error.word, {"{}{}", ending(ends), message.text}, hint);
     })},

    {"scenario-without-item", Severity::kError,
     "A 'SCEN' line must be followed by the header of an item on the very next line, so a scenario "
     "without an item cannot be written. A blank line there, a second 'SCEN', a ']', a key or the "
     "end of the file ends the daemon with \"Each item should be started with 'SCEN' or embraced "
     "with [name]\" and status 0.",
     eachError<Error::kHeaderBehindScenario>([](const Error& error, Context& context) {
       context.tell(error.word,
                    {"{}{} follows a 'SCEN' line, and an item must", ending(error, context),
                     whatStands(error)},
                    error.found == Error::kBlankLine
                        ? "take out the blank line below 'SCEN'"
                        : "write an item directly below 'SCEN', or take 'SCEN' out");
     })},

    {"bracket-without-item", Severity::kError,
     "A ']' behind an item that has ended already closes the scenario, and the very next line must "
     "be the header of an item. A ']' at the end of the file, before a blank line, before 'SCEN' "
     "or before another ']' therefore ends the daemon with \"Each item should be started with "
     "'SCEN' or embraced with [name]\" and status 0. No scenario needs closing: the next 'SCEN' "
     "line does it, and 'SCEN Default' leads back.",
     eachError<Error::kHeaderBehindBracket>([](const Error& error, Context& context) {
       context.tell(error.word,
                    {"{}{} follows a ']' that closes a scenario, and an item must",
                     ending(error, context), whatStands(error)},
                    "take the ']' out: the next 'SCEN' line ends a scenario");
     })},

    {"no-type-line", Severity::kError,
     "The line directly below an item's header must be 'algo_type monitor' or 'algo_type ss'. A "
     "blank line, another key or the end of the file there ends the daemon with \"Each item's "
     "property should contain & start with 'algo_type'\" and status 0.",
     eachError<Error::kTypeLine>([](const Error& error, Context& context) {
       context.tell(error.word,
                    {"{}{} follows the header of '{}', and 'algo_type' must",
                     ending(error, context), whatStands(error), error.item->name},
                    hintForTypeLine(error));
     })},

    {"unknown-type", Severity::kError,
     "The word behind 'algo_type' must be 'monitor' or 'ss', in small letters. Any other word ends "
     "the daemon with \"Algo type should be 'monitor' or 'SS'\" and status 0; the capitals in that "
     "message are misleading, for 'SS' is refused.",
     eachError<Error::kTypeWord>([](const Error& error, Context& context) {
       const bool none = error.found == Error::kNoWord;
       const std::string& word = error.word.text;
       context.tell(error.word,
                    {"{}{}", ending(error, context),
                     none ? "no kind of item stands behind 'algo_type'"
                          : quoted(word) + " is no kind of item"},
                    didYouMean(none ? "" : word, {"monitor", "ss"},
                               "write 'algo_type monitor' or 'algo_type ss'"));
     })},

    {"missing-property", Severity::kError,
     "A monitor needs 'sensor', 'thresholds', 'thresholds_clr', 'actions' and 'action_info'; an ss "
     "item needs 'sensor', 'device', 'set_point' and 'set_point_clr'. Without one of them the "
     "daemon ends with \"There is some missing property for\" and the item's name, and status 0. "
     "It does not say which one is missing.",
     eachItem([](const Item& item, Context& context) {
       const std::vector<std::string> keys = keysWithoutLine(item);
       if (keys.empty()) return;
       const bool ends = std::any_of(keys.begin(), keys.end(), [&](const std::string& key) {
         return endsForWantOf(*context.configuration, item, key);
       });
       context.tell(item.header, {"{}'{}' lacks {}", ending(ends), item.name, listed(keys)});
     })},

    {"set-point-zero", Severity::kError,
     "The daemon cannot tell a set point of 0 from one that is not there: 'set_point 0' or "
     "'set_point_clr 0' ends it with \"There is some missing property for\" and the item's name, "
     "and status 0. For the freezing point write 1, a thousandth of a degree more.",
     eachItem([](const Item& item, Context& context) {
       for (const auto& [key, point] :
            {std::pair("set_point", &item.setPoint), std::pair("set_point_clr", &item.setPointClr)})
         // A word without digits is 0, too, but that is what another rule tells.
         if (!point->word.text.empty() && point->value == 0 && sound(*point))
           context.tell(point->word,
                        {"the daemon takes 0 for no value{}", endForWantOf(key, item, context)},
                        "write 1: a thousandth of a degree more");
     })},
};

const std::vector<Rule> kUntoldEndRules = {
    {"ends-the-daemon", Severity::kError,
     "The daemon ends on the configuration, and no other rule has a word for the reason. It logs "
     "what it misses and exits with status 0, at start and in a live swap alike, and the phone has "
     "no thermal protection. Compare the item that is marked with one that works.",
     [](Context& context) {
       // One telling may stand for several: a name that is nowhere is told once for all files.
       const std::vector<Finding>& told = context.told();
       if (std::any_of(told.begin(), told.end(),
                       [](const Finding& finding) { return finding.end == End::kNow; }))
         return;
       eachConfiguration([](const Configuration& configuration, Context& of) {
         if (const ConfigurationError* fatal = configuration.fatal())
           of.tell(fatal->word, {"{}it logs \"{}\"", ending(true), fatal->message});
       })(context);
     }},
};
