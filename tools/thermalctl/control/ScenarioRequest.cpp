#include "control/ScenarioRequest.h"

#include <algorithm>
#include <optional>

#include "base/Names.h"

namespace {

// This much later the daemon has looked at its files, and, should it have taken the name over, not
// yet looked again behind the switch.
constexpr std::chrono::milliseconds kOneLook = kControlPeriod * 3 / 2;

// Stands for a missing file, which the daemon makes again with the scenario in force. Unlike any
// other word it cannot be a scenario's name.
constexpr const char* kQuestion = kNoFile;

class ScenarioRequest {
public:
  ScenarioRequest(ControlFile& file_, const std::string& name_, std::chrono::milliseconds timeout,
                  Waiting& waiting_)
      : file(file_), name(name_), waiting(waiting_), limit(waiting.now() + timeout) {}

  Answer run() {
    while (waiting.now() < limit) {
      if (const auto answer = ask()) return *answer;
      if (const auto answer = askWhatIsInForce()) return *answer;
    }
    // Not the question, should the daemon only be slow.
    return {Outcome::kNoAnswer, "", file.ask(name)};
  }

private:
  // An answer when the name is refused, nothing when it stands.
  std::optional<Answer> ask() {
    waiting.stage("asking for " + name);
    // The first time the daemon may have had its answer to an earlier word under way.
    for (const bool isLastTime : {false, true}) {
      if (const auto error = file.ask(name)) return Answer{Outcome::kNotWritten, file.path, error};
      const auto kept = wordInPlaceOf(name, std::min(limit, waiting.now() + look));
      // Another asker's question leaves the name unread; another round will tell.
      if (!kept || *kept == kQuestion) return std::nullopt;
      if (file.isReplaced()) return Answer{Outcome::kOvertaken, *kept};
      if (isLastTime) return Answer{Outcome::kRefused, *kept};
    }
    return std::nullopt;
  }

  // An answer when it is the name, or when someone else has asked for another.
  std::optional<Answer> askWhatIsInForce() {
    waiting.stage("waiting for the switch to " + name);
    if (const auto error = file.ask(kQuestion))
      return Answer{Outcome::kNotWritten, file.path, error};
    const auto inForce = wordInPlaceOf(kQuestion, limit);
    if (!inForce) return std::nullopt;
    const bool byDaemon = !file.isReplaced();
    // Should the daemon have been too slow to see the name, it shall have more time.
    if (byDaemon) look *= 2;
    const bool isAskedFor = *inForce == name;
    if (byDaemon && isAskedFor) return Answer{Outcome::kInForce, name};
    if (!byDaemon && !isAskedFor) return Answer{Outcome::kOvertaken, *inForce};
    return std::nullopt;
  }

  // The word that comes in the place of `asked`. Neither an empty file nor one that cannot be
  // opened is an answer: the daemon truncates the file before it writes.
  std::optional<std::string> wordInPlaceOf(const std::string& asked, Waiting::Time until) {
    std::optional<std::string> word;
    const bool came = waitUntil(waiting, until, [&] {
      word = file.word();
      return word && !word->empty() && *word != asked;
    });
    return came ? word : std::nullopt;
  }

  ControlFile& file;
  const std::string& name;
  Waiting& waiting;
  const Waiting::Time limit;
  std::chrono::milliseconds look = kOneLook;
};

} // namespace

Answer askForScenario(ControlFile& file, const std::string& name, std::chrono::milliseconds timeout,
                      Waiting& waiting) {
  return ScenarioRequest(file, name, timeout, waiting).run();
}
