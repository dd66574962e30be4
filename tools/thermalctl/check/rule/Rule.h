#pragma once

#include <algorithm>
#include <functional>
#include <optional>
#include <set>
#include <string>
#include <tuple>
#include <vector>

#include <fmt/core.h>

#include "board/Configuration.h"
#include "board/Environment.h"
#include "board/LostNames.h"
#include "check/rule/Finding.h"
#include "check/rule/PlantFacts.h"
#include "coverage/Coverage.h"
#include "settings/Settings.h"

// All that one run looks at: the board, and each configuration meant for it.
//
// Shape:  references into an Inspection, which must outlive it. Everything has been read: a rule
//         looks at no file, but for those about the nodes themselves.
// Source: the files as they are; in what order the rules run makes no difference.
struct Subject {
  const Environment& environment;
  const std::vector<Configuration>& configurations;
  // Where the board's nodes are looked for; without it no node is.
  std::optional<std::string> nodesRoot;
  Settings settings{};
  PlantFacts plant{};
  // What a mistake of the environment takes from all of them.
  LostNames lost{environment, configurations};
  Coverage coverage{environment, configurations};
};

class Context;

// How a rule looks at the files, and at one thing of them. Visits.h makes the one of the other.
using Check = std::function<void(Context&)>;
template <typename Thing> using Look = std::function<void(const Thing&, Context&)>;

// Two small boards: of one the rule tells, of the other, which is close to it, no rule does.
//
// Shape: lines that take the place of those of the same key in the first item of the board that
//        the page of the rules begins with; or whole sections and items, which are added to it or
//        take the place of those of the same name. A line "== NAME" begins a further file.
struct RuleExample {
  std::string bad;
  std::string good;
};

// One thing that can be wrong with the files. All that makes it stands in one place, the list of
// its theme.
//
// Shape:  told apart by `name`, which users and their scripts know: it is never given to another
//         rule.
// Errors: a check raises none. Where a file is too broken for its question it finds nothing, and
//         leaves the cause to the rule that tells of it.
struct Rule {
  // Lower-case words joined by "-", as `--disable` takes them.
  const char* name;
  Severity severity;
  // One paragraph: what the daemon does with such a file, why that hurts, what to write instead.
  const char* explanation;
  Check check;
  RuleExample example{};
};

// The words of a sentence that tell of the daemon's end, such as "the daemon ends: "; without an
// end none. Whatever sentence they stand in tells of what no user may leave out.
struct Ending {
  std::string words;
  End end = End::kNone;
};

// A sentence, with what belongs into its gaps: {"the daemon ignores '{}'", key}.
//
// Shape:  `end` is that of the Ending in one of the gaps.
// Errors: only a text that comes with something to put into it is looked through for gaps.
struct Message {
  Message(const char* text_) : text(text_) {}
  Message(std::string text_) : text(std::move(text_)) {}
  template <typename First, typename... More>
  Message(const char* text_, const First& first, const More&... more)
      : text(fmt::vformat(text_, fmt::make_format_args(shown(first), shown(more)...))),
        end(std::max({endIn(first), endIn(more)...})) {}

  std::string text;
  End end = End::kNone;

private:
  template <typename Other> static const Other& shown(const Other& piece) { return piece; }
  static const std::string& shown(const Ending& ending) { return ending.words; }
  template <typename Other> static End endIn(const Other&) { return End::kNone; }
  static End endIn(const Ending& ending) { return ending.end; }
};

// Where a rule stands, and where what it finds goes, in any order.
//
// Shape: each place is marked once: a rule that comes there again, by another item or another way,
//        has nothing new to tell.
// Units: the marked text is the word, in bytes; of an empty word the byte at its place.
class Context {
public:
  Context(const Rule& rule_, const Subject& subject_, std::vector<Finding>& findings_)
      : subject(subject_), rule(rule_), findings(findings_) {}

  // Marks `word` in the file in hand, the first time that the rule comes to this place.
  void tell(const Word& word, const Message& message, const Message& hint = "");
  // The same in the settings file.
  void tellInSettings(const Word& word, const Message& message, const Message& hint);

  // What this rule and those before it have found.
  const std::vector<Finding>& told() const { return findings; }

  const Subject& subject;
  // The file in hand; while that is another than a configuration, null.
  const Configuration* configuration = nullptr;

private:
  void tellIn(const std::string& file, const Word& word, const Message& message,
              const Message& hint);

  const Rule& rule;
  std::vector<Finding>& findings;
  // File, line and column of each.
  std::set<std::tuple<std::string, int, int>> marked;
};
