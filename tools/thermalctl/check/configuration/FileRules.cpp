#include <algorithm>

#include "base/TextReader.h"
#include "check/configuration/ConfigurationRules.h"
#include "check/configuration/Ends.h"
#include "check/rule/Dependents.h"
#include "check/rule/FileRuleNames.h"
#include "check/rule/Keys.h"
#include "check/rule/Visits.h"
#include "text/LookAlikes.h"
#include "text/Phrases.h"

namespace {

// What there is to say about a file that is none of the two, and what to do about it.
std::pair<Message, Message> tellingOf(const TextKind& kind) {
  switch (kind.kind) {
  case TextKind::kByteOrderMark:
    return {"the file begins with U+FEFF, a byte order mark, which the daemon takes for a part of "
            "the first word",
            "save the file as UTF-8 without a byte order mark"};
  case TextKind::kUtf16:
    return {"this is UTF-16, with two bytes for each character, and the daemon takes each byte for "
            "one",
            "save the file as UTF-8"};
  case TextKind::kCarriageReturns:
    return {"the lines end with carriage returns alone, and to the daemon all of them are one line",
            "save the file with line feeds at the ends of its lines"};
  case TextKind::kSeparators:
    return {{"these are the cells of a spreadsheet, and the daemon takes '{}' for a part of a word",
             kind.at.text},
            "put blanks between the words, and blank lines between the blocks"};
  case TextKind::kBinary:
    return {"this is a binary file and no text", "name the file that was meant"};
  case TextKind::kPlant:
    return {"this is a plant, of which the daemon reads nothing", "name the file that was meant"};
  case TextKind::kWorkload:
    return {"this is a workload, of which the daemon reads nothing",
            "name the file that was meant"};
  default:
    return {"the file is empty: the daemon finds no sensor and no device here",
            "write the board's sections, or name the file that was meant"};
  }
}

constexpr char kSwapped[] = "this is {}; did you swap --env and --conf?";

const Configuration* environmentAmong(const std::vector<Configuration>& configurations) {
  const auto found =
      std::find_if(configurations.begin(), configurations.end(), [](const Configuration& each) {
        return each.kind.kind == TextKind::kEnvironment;
      });
  return found == configurations.end() ? nullptr : &*found;
}

void tellOfEnvironment(Context& context) {
  const Environment& environment = context.subject.environment;
  if (!environment.isForeign()) return;
  if (environment.kind.kind == TextKind::kConfiguration) {
    const Configuration* other = environmentAmong(context.subject.configurations);
    return context.tell(environment.kind.at, {kSwapped, "a configuration"},
                        other ? Message("the environment is {}", other->file) : Message(""));
  }
  const auto [message, hint] = tellingOf(environment.kind);
  context.tell(environment.kind.at, {"{}{}", message.text, dependents(1, context)}, hint);
}

void tellOfConfiguration(const Configuration& configuration, Context& context) {
  if (!configuration.isForeign()) return;
  const Ending end = configuration.fatal() ? ending(true) : Ending();
  if (configuration.kind.kind == TextKind::kEnvironment) {
    // Swapped for each other the two are one mistake.
    if (context.subject.environment.kind.kind != TextKind::kConfiguration)
      context.tell(configuration.kind.at,
                   {"{}{}", end, fmt::format(kSwapped, "an environment file")});
    return;
  }
  const auto [message, hint] = tellingOf(configuration.kind);
  context.tell(configuration.kind.at, {"{}{}", end, message.text}, hint);
}

// The words of a line, up to what is meant as a comment.
std::vector<Word> wordsOf(const std::string& line, int number) {
  std::vector<Word> words;
  for (size_t start = line.find_first_not_of(kWhiteSpace); start != std::string::npos;) {
    const size_t end = std::min(line.find_first_of(kWhiteSpace, start), line.size());
    words.push_back({line.substr(start, end - start), {number, static_cast<int>(start) + 1}});
    if (isComment(words.back().text)) {
      words.pop_back();
      return words;
    }
    start = line.find_first_not_of(kWhiteSpace, end);
  }
  return words;
}

bool isAscii(const std::string& text) {
  return std::all_of(text.begin(), text.end(),
                     [](char byte) { return static_cast<unsigned char>(byte) < 0x80; });
}

// What counts on a section whose header it is, unless that is told of the same line.
Ending dependentsOn(const Word& word, const Context& context) {
  const Environment& environment = context.subject.environment;
  const bool told = std::any_of(
      environment.breaks.begin(), environment.breaks.end(),
      [&word](const EnvironmentBreak& each) { return each.word.at.line == word.at.line; });
  return context.configuration || told ? Ending() : dependents(word.at.line, context);
}

// A word in another script is one as good as any, until nobody can see that it is.
void tellOfLookAlike(const Word& word, Context& context) {
  const std::optional<LookAlike> other = firstLookAlike(word.text);
  if (!other) return;
  const bool shows = !other->meant.empty() && other->meant != " ";
  const std::string read = asRead(word.text);
  if (shows && !isAscii(read)) return;
  const Word place{word.text.substr(other->start, other->length),
                   {word.at.line, word.at.column + static_cast<int>(other->start)}};
  context.tell(
      place,
      {"'{}' holds {}, {}{}: to the daemon it is another word{}", withCodePoints(word.text),
       codePoint(other->number), other->what,
       shows ? " that looks like '" + other->meant + "'" : "", dependentsOn(word, context)},
      read.find_first_not_of(kWhiteSpace) == std::string::npos ? Message("take it out")
                                                               : Message("write '{}'", read));
}

void tellOfLookAlikes(const std::vector<std::string>& lines, Context& context) {
  int number = 0;
  for (const std::string& line : lines) {
    ++number;
    if (isAscii(line)) continue;
    for (const Word& word : wordsOf(line, number))
      tellOfLookAlike(word, context);
  }
}

} // namespace

const std::vector<Rule> kFileRules = {
    {kWrongKindOfFile, Severity::kError,
     "A file is not what it was named as: a configuration in place of the environment file or the "
     "other way round, an empty environment file, a binary file, the export of a spreadsheet with "
     "semicolons or commas between its cells, a text in UTF-16, with a byte order mark at its "
     "start, or with carriage returns for line ends. The daemon makes nothing of such a file, or "
     "something that nobody meant: it has no board, or ends with one of its messages and status 0. "
     "Nothing else is told about the file, and nothing that only follows from it. Save it as plain "
     "UTF-8 with line feeds and without a mark.",
     [](Context& context) {
       tellOfEnvironment(context);
       eachConfiguration(tellOfConfiguration)(context);
     }},

    {kLookAlikeCharacter, Severity::kError,
     "A word holds a character that does not show, such as a zero-width space (U+200B), or one "
     "that "
     "looks like another: a no-break space (U+00A0), a dash (U+2013), a full-width digit (U+FF11), "
     "a Cyrillic 'a' (U+0430). Word processors and chat programs put them there. The daemon "
     "compares bytes: such a key is unknown, such a name belongs to nobody, and such a digit is "
     "none. Words that are wholly of another script are left alone. Type the word anew.",
     [](Context& context) {
       tellOfLookAlikes(context.subject.environment.lines, context);
       eachConfiguration([](const Configuration& configuration, Context& of) {
         tellOfLookAlikes(configuration.lines, of);
       })(context);
     }},
};
