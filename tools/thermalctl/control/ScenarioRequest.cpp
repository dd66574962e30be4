#include "control/ScenarioRequest.h"

#include <optional>
#include <utility>

#include "base/Names.h"
#include "control/DaemonLooks.h"
#include "file/DirectoryWatch.h"

namespace {

// A word that has been there for so long the daemon has looked at, also if it had a switch to make
// in between.
constexpr std::chrono::milliseconds kTwoLooks = kControlPeriod * 5 / 2;

// The daemon's next look is not before this. Another reader may look like the daemon, but not keep
// to its period.
constexpr std::chrono::milliseconds kNextLook = kControlPeriod * 3 / 4;

class ScenarioRequest {
public:
  ScenarioRequest(const ControlDirectory& directory_, const std::string& name_,
                  std::chrono::milliseconds timeout, Waiting& waiting_)
      : directory(directory_), name(name_), waiting(waiting_), limit(waiting.now() + timeout),
        file(directory.scenarioFile), watch(directory.path), looks(directory) {}

  Answer run() {
    if (watch.error()) return {Outcome::kNotWritten, file.path, watch.error()};
    waiting.stage("asking for " + name);
    // Without an end to it in time the name is put there all the same, for a daemon that is slow.
    waitUntil(
        waiting, limit, [this] { return wordIsOld(); }, watch.descriptor());
    switchIsDue = file.word() != name;
    if (switchIsDue)
      if (const auto error = ask(name)) return {Outcome::kNotWritten, file.path, error};
    std::optional<Answer> answer;
    waitUntil(
        waiting, limit, [&] { return (answer = answered()).has_value(); }, watch.descriptor());
    return answer.value_or(Answer{Outcome::kNoAnswer});
  }

private:
  // How far the daemon is known to be.
  enum Stage { kAsked, kTaken, kSwitched, kSeenAgain };

  // Whether the word there has been looked at by the daemon, so that none is taken away unread.
  bool wordIsOld() {
    bool wasWritten = false;
    for (const FileEvent& event : watch.take()) {
      if (event.concerns(file.path)) {
        wasLookedAt = wasLookedAt && event.kind == FileEvent::kRead;
        wasWritten = wasWritten || event.kind != FileEvent::kRead;
      }
      const auto cycle = looks.after(event, waiting.now());
      wasLookedAt = wasLookedAt || cycle == DaemonLooks::kRead || cycle == DaemonLooks::kAnswer;
    }
    const auto word = file.word();
    // It may stand there before its writing has been told: then no look was at it.
    if (std::exchange(seen, word) != word && !wasWritten) wasLookedAt = false;
    // The daemon makes a missing file anew, with the scenario in force.
    if (!word || word->empty() || word == kNoFile) return false;
    return word == name || wasLookedAt || file.age() > kTwoLooks;
  }

  std::error_code ask(const std::string& word) {
    const auto error = file.ask(word);
    // What was done to the file that was there tells nothing about the new one.
    watch.take();
    looks = DaemonLooks(directory);
    return error;
  }

  std::optional<Answer> answered() {
    for (const FileEvent& event : watch.take()) {
      const auto cycle = looks.after(event, waiting.now());
      if (cycle == DaemonLooks::kLateAnswer) return Answer{Outcome::kSwallowed};
      if (cycle == DaemonLooks::kAnswer) return answer();
      if (cycle) advance(*cycle);
    }
    const auto word = file.word();
    if (word && !word->empty() && word != kNoFile && word != name) return answerOrOvertaken(*word);
    if (const auto displaced = file.displacedWord(); displaced && displaced != name)
      return putBack(*displaced);
    if (stage == kSeenAgain && word == name) return Answer{Outcome::kInForce, name};
    return std::nullopt;
  }

  std::optional<Answer> answerOrOvertaken(const std::string& word) {
    if (looks.mayBeAnswering(waiting.now())) return std::nullopt;
    return Answer{Outcome::kOvertaken, word};
  }

  Answer putBack(const std::string& word) {
    if (const auto error = ask(word)) return {Outcome::kNotWritten, file.path, error};
    return {Outcome::kOvertaken, word};
  }

  // The daemon has written the scenario in force over the name, or the name itself: it need not be
  // declared to be in force.
  Answer answer() {
    const std::string inForce = file.word().value_or("");
    return {inForce == name ? Outcome::kInForce : Outcome::kRefused, inForce};
  }

  void advance(DaemonLooks::Cycle cycle) {
    const bool mayHaveRead = cycle != DaemonLooks::kSwitch;
    const bool mayHaveSwitched = cycle != DaemonLooks::kRead;
    if (stage == kAsked && mayHaveRead) {
      waiting.stage("waiting for the switch to " + name);
      stage = switchIsDue ? kTaken : kSwitched;
      nextLook = waiting.now() + kNextLook;
    } else if (stage == kTaken && mayHaveSwitched) {
      stage = kSwitched;
    } else if (stage == kSwitched && mayHaveRead && waiting.now() >= nextLook) {
      stage = kSeenAgain;
    }
  }

  const ControlDirectory& directory;
  const std::string& name;
  Waiting& waiting;
  const Waiting::Time limit;
  ControlFile file;
  DirectoryWatch watch;
  DaemonLooks looks;
  std::optional<std::string> seen; // in the file
  bool wasLookedAt = false;
  // Not where the name stood there already: either it is in force, or its switch is under way.
  bool switchIsDue = true;
  Stage stage = kAsked;
  Waiting::Time nextLook;
};

} // namespace

Answer askForScenario(const ControlDirectory& directory, const std::string& name,
                      std::chrono::milliseconds timeout, Waiting& waiting) {
  return ScenarioRequest(directory, name, timeout, waiting).run();
}
