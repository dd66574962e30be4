#include <algorithm>
#include <set>

#include "base/Names.h"
#include "board/MeantItems.h"
#include "check/configuration/ConfigurationRules.h"
#include "check/configuration/Ends.h"
#include "check/rule/IgnoredWords.h"
#include "check/rule/Keys.h"
#include "check/rule/Visits.h"
#include "config/ConfGrammar.h"
#include "text/Nearest.h"

// What an item looks like. A blank line or "]" ends it; "SCEN" must be followed by an item's
// header.
//   SCEN game
//   [cpu_less]
//   algo_type monitor
//   sensor cpu
//   thresholds 60000 70000
//   thresholds_clr 57000 67000
//   actions clock clock+charger
//   action_info 1 2+1

namespace {

// The lines that open a scenario.
Check eachOpening(Look<ScenarioLine> look) {
  return eachConfiguration(
      [look = std::move(look)](const Configuration& configuration, Context& context) {
        for (const ScenarioLine& line : configuration.scenarioLines)
          if (!line.closes()) look(line, context);
      });
}

// The name is the header without its first and its last character, whatever these are.
bool hasBracket(const Item& item) {
  return item.header.text.size() > 1 && item.header.text.back() == ']';
}

// Where each of the merged items has what it needs and the daemon still ends over them.
Ending endByMerging(const Configuration& configuration, const Item& whole) {
  const ConfigurationError* fatal = configuration.fatal();
  if (!fatal || fatal->item != &whole || whole.missing.empty()) return {};
  // Where one of them lacks the key by itself, that is what another rule tells.
  for (const std::string& key : whole.missing)
    for (const Item* item : configuration.meant)
      if (endsForWantOf(configuration, *item, key)) return {};
  return {", and ends because '" + whole.missing.front() + "' is missing", End::kNow};
}

void tellOfSwallowed(const Item& item, Context& context) {
  const Ending end = endByMerging(*context.configuration, item);
  // A header right below a swallowed "SCEN" line has the same cause, and one finding tells of both.
  bool behindScenarioLine = false;
  for (const Property& property : item.properties) {
    const bool scenarioLine = property.key.text == "SCEN";
    if (scenarioLine || (beginsAnother(property) && !behindScenarioLine))
      context.tell(
          property.key,
          {"the daemon {} to item '{}', which has not ended{}",
           scenarioLine ? "ignores this line and adds what is below" : "adds this item's lines",
           item.name, end},
          "write a blank line above");
    behindScenarioLine = scenarioLine;
  }
}

void tellOfIgnoredBehind(const Word& word, Context& context) {
  if (const std::optional<Word> ignored = ignoredBehind(context.configuration->lines, word))
    context.tell(*ignored, {"the daemon ignores what stands behind '{}'", word.text},
                 "take it out");
}

void tellOfIgnored(const Item& item, Context& context) {
  if (hasBracket(item)) tellOfIgnoredBehind(item.header, context);
  if (!item.kindWord.text.empty()) tellOfIgnoredBehind(item.kindWord, context);
  for (const auto& [key, words, known] : item.properties)
    if (known && words.size() > 1 && !takesAList(key.text))
      context.tell(words[1],
                   {"the daemon takes one word for '{}' and ignores the others", key.text},
                   "take them out, or join the words");
}

// A line that could be the missing one, and that another rule tells of.
bool hidesDefault(const Configuration& configuration) {
  for (const ConfigurationError& error : configuration.errors)
    if (error.failure == ConfigurationError::kNoItem) return true;
  for (const ScenarioLine& line : configuration.scenarioLines)
    if (!line.closes() && !line.named()) return true;
  for (const Item& item : configuration.items)
    for (const auto& [key, words, known] : item.properties)
      if (key.text == kScenarioKey && !words.empty() && words.front().text == kDefaultScenario)
        return true;
  return false;
}

bool runsFromTheStart(const Configuration& configuration) {
  return std::any_of(configuration.meant.begin(), configuration.meant.end(),
                     [](const Item* item) { return item->scenario == kDefaultScenario; });
}

// The configurations that lack the scenario "Default", and no other rule tells of that.
Check eachWithoutDefault(Look<Configuration> look) {
  return eachConfiguration(
      [look = std::move(look)](const Configuration& configuration, Context& context) {
        if (!configuration.items.empty() && configuration.scenarios.count(kDefaultScenario) == 0 &&
            !hidesDefault(configuration))
          look(configuration, context);
      });
}

// The name that was to be "Default", or else where that line is due.
const Word& placeForDefault(const Configuration& configuration) {
  for (const ScenarioLine& line : configuration.scenarioLines)
    if (line.named() && nearest(line.name.text, {kDefaultScenario}) == kDefaultScenario)
      return line.name;
  const Item& first = configuration.items.front();
  return first.scenarioLine ? configuration.scenarioLines.front().keyword : first.header;
}

} // namespace

const std::vector<Rule> kShapeRules = {
    {"empty-configuration", Severity::kError,
     "A configuration without an item is no error to the daemon: it samples its sensors, never "
     "drives a device, and logs once a second that there is no scenario 'Default'. The phone has "
     "no thermal protection.",
     eachConfiguration([](const Configuration& configuration, Context& context) {
       if (configuration.items.empty() && configuration.errors.empty())
         context.tell({"", {1, 1}}, "the daemon finds no item here and never drives a device");
     })},

    {"items-merged", Severity::kError,
     "An item ends only with a blank line, a ']' or the end of the file. A header without one of "
     "them above is an unknown key of the item before it: the lines below replace that item's "
     "values and lengthen its lists, and the second item does not exist. A 'SCEN' line there is "
     "ignored in the same way, and the scenario stays what it was. What the item's values then "
     "amount to is not checked further; separate the items first.",
     eachConfiguration([](const Configuration& configuration, Context& context) {
       for (const Item& item : configuration.items)
         tellOfSwallowed(item, context);
     })},

    {"blank-line-after-type", Severity::kWarning,
     "A blank line directly below the type line ends nothing: the daemon takes the type for a key "
     "without a meaning and reads on. What looks like an item that ended is one that goes on, up "
     "to the next blank line.",
     eachItem([](const Item& item, Context& context) {
       if (item.blankBelowType && !item.kindWord.text.empty())
         context.tell(item.kindWord,
                      {"the blank line below does not end the item: the lines behind it still "
                       "belong to '{}'",
                       item.name},
                      "take out the blank line");
     })},

    {"bracket-after-type", Severity::kWarning,
     "A ']' directly below the type line ends nothing: the first line of an item is always taken "
     "for a key. The lines behind it still belong to the item, up to the next blank line or ']'.",
     eachItem([](const Item& item, Context& context) {
       if (!item.properties.empty() && item.properties.front().key.text == "]")
         context.tell(
             item.properties.front().key,
             {"this does not end item '{}': directly below the type line the daemon ignores a ']'",
              item.name},
             "take it out");
     })},

    {"item-header-without-bracket", Severity::kWarning,
     "An item's name is the first word of its header without the first and the last character, "
     "whatever they are. '[skin' gives 'ski', and '[cpu big]' gives 'cp'. The name stands in the "
     "log, in reports, and in the requests at the devices.",
     eachItem([](const Item& item, Context& context) {
       if (!hasBracket(item))
         context.tell(item.header,
                      {"the daemon calls this item '{}': it drops the first and the last character "
                       "of the word, whatever they are",
                       item.name},
                      "write a name without a space, and ']' directly behind it");
     })},

    {"item-without-name", Severity::kWarning,
     "The header '[]' gives an item with an empty name. It runs, but its log lines and reports do "
     "not tell who speaks, and all items without a name share one request at each device.",
     eachItem([](const Item& item, Context& context) {
       if (hasBracket(item) && item.name.empty())
         context.tell(
             item.header,
             "the item's name is empty, and its log lines and reports do not tell who speaks",
             "write a name between the brackets");
     })},

    {"words-ignored", Severity::kWarning,
     "Behind a header, a type, a scenario's name and the value of a key that takes one, the daemon "
     "ignores all further words without a message: 'set_point 70 000' sets 70, 'sensor cpu big' "
     "watches 'cpu', and 'SCEN night mode' opens 'night'. There are no comments either.",
     eachConfiguration([](const Configuration& configuration, Context& context) {
       for (const Item* item : configuration.meant)
         tellOfIgnored(*item, context);
       for (const ScenarioLine& line : configuration.scenarioLines)
         if (line.named() && line.name.text[0] != '[') tellOfIgnoredBehind(line.name, context);
     })},

    // A scenario looks closed where its item ends with "]", and is not where a further item
    // follows.
    {"scenario-not-closed", Severity::kWarning,
     "A ']' below the lines of an item ends that item alone. The scenario goes on, and the next "
     "item belongs to it although it looks as if it stood outside. Only a second ']', directly "
     "followed by an item, leads back to 'Default'; a 'SCEN Default' line says the same more "
     "plainly.",
     eachConfiguration([](const Configuration& configuration, Context& context) {
       std::set<size_t> told;
       for (size_t i = 0; i + 1 < configuration.items.size(); ++i) {
         const Item& item = configuration.items[i];
         const Item& next = configuration.items[i + 1];
         // In Default nothing is to be closed: a "]" there ends the item and looks like no more.
         const bool looksClosed =
             item.end == ItemEnd::kBracket && item.scenario != kDefaultScenario;
         if (!looksClosed || item.scenarioLine != next.scenarioLine) continue;
         if (told.insert(*item.scenarioLine).second)
           context.tell(item.bracket,
                        {"this ends item '{}' and not scenario '{}', to which '{}' belongs as well",
                         item.name, item.scenario, next.name},
                        "end the item with a blank line, and the scenario with a 'SCEN' line");
       }
     })},

    {"nothing-in-force", Severity::kError,
     "The daemon starts in the scenario 'Default'. Where no item belongs to it none is in force: "
     "the phone has no thermal protection, at start and after each restart, until another "
     "component asks for a scenario by its name. Mostly 'Default' is misspelt; capitals count.",
     eachWithoutDefault([](const Configuration& configuration, Context& context) {
       if (runsFromTheStart(configuration)) return;
       const Word& place = placeForDefault(configuration);
       context.tell(
           place,
           "the daemon starts in 'Default', to which no item belongs: none is in force, and no "
           "device is driven",
           didYouMean(
               place.text, {kDefaultScenario},
               "write 'SCEN Default' directly above the first item that shall run from the start"));
     })},

    {"no-default-scenario", Severity::kWarning,
     "The daemon starts in the scenario 'Default', and items above the first 'SCEN' line belong to "
     "it, but only a 'SCEN Default' line makes it a name that the daemon accepts. Without one it "
     "logs \"There is no scen name: Default\" and rewrites the scenario file once a second, and "
     "from another scenario there is no way back.",
     eachWithoutDefault([](const Configuration& configuration, Context& context) {
       if (!runsFromTheStart(configuration)) return;
       const Word& place = placeForDefault(configuration);
       context.tell(
           place,
           "the daemon starts in 'Default', but no line here makes that a name: it complains once "
           "a second, and no request leads back there",
           didYouMean(
               place.text, {kDefaultScenario},
               "write 'SCEN Default' directly above the first item that shall run from the start"));
     })},

    {"retired-scenario-name", Severity::kError,
     "During a configuration swap the daemon files what is to go under names that begin with "
     "\"OLDSCEN_\", and then throws away every item whose scenario holds that text anywhere, those "
     "of the new configuration included.",
     eachOpening([](const ScenarioLine& line, Context& context) {
       if (line.name.text.find(kRetiredMark) != std::string::npos)
         context.tell(line.name,
                      "the next configuration swap throws all items of this scenario away: "
                      "\"OLDSCEN_\" marks what is to go",
                      "choose another name");
     })},

    {"scenario-without-name", Severity::kError,
     "Behind a 'SCEN' that stands alone the daemon finds no name and takes the word itself: the "
     "items below belong to a scenario called 'SCEN', and run only when that is asked for.",
     eachOpening([](const ScenarioLine& line, Context& context) {
       if (!line.named())
         context.tell(line.keyword,
                      "the daemon calls this scenario 'SCEN', for want of a name behind the word",
                      "write the scenario's name behind 'SCEN'");
     })},

    {"bracketed-scenario-name", Severity::kWarning,
     "A scenario's name is the word behind 'SCEN' as it stands. 'SCEN [game]' opens a scenario "
     "called '[game]', and a request for 'game' is refused. An item's header goes on a line of its "
     "own.",
     eachOpening([](const ScenarioLine& line, Context& context) {
       if (line.named() && line.name.text[0] == '[')
         context.tell(line.name, "the daemon takes the brackets for a part of the scenario's name",
                      "write the name without brackets, and an item's header on a line of its own");
     })},
};
