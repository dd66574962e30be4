#include "control/ConfigurationRequest.h"

#include <utility>

#include "control/DaemonLooks.h"
#include "file/DirectoryWatch.h"
#include "file/OpenWatch.h"
#include "file/ReplaceFile.h"

namespace {

// A daemon that starts writes both of its files in a moment.
constexpr std::chrono::milliseconds kMoment = kControlPeriod / 20;

// Sees to it that a scenario that another writer asks for is not lost under the one to which a swap
// falls back.
class OthersScenario {
public:
  explicit OthersScenario(const std::string& path) : file(path) {}

  void begin() {
    noteLook();
    isOther = !isDefault();
  }
  void noteWriting() { ++writes; }
  // What stands there now the daemon knows.
  void noteLook() {
    writes = 0;
    asked.clear();
  }
  void look() {
    if (writes == 0) return;
    const std::string word = file.word().value_or("");
    if (!word.empty() && word != kDefaultScenario) asked = word;
  }

  bool isDefault() { return file.word() == kDefaultScenario; }

  // Behind a swap: whether nothing is lost.
  bool isKept() {
    const bool isOverwritten = writes > 0 && isDefault();
    if (!isOverwritten) return true;
    // Where it was in force before without being declared, the daemon writes it twice.
    return asked.empty() ? writes == 1 || !isOther : !file.ask(asked);
  }

private:
  ControlFile file;
  // Whether another scenario was asked for when the request was made.
  bool isOther = false;
  // Since the daemon has looked at it.
  int writes = 0;
  std::string asked;
};

// A request, step by step: wait until no other is pending, put the configuration's copy in place,
// watch that copy, ask, and then tell by what the daemon does whether it has read it. A daemon
// answers every request in the same way, taken or refused: only that it opened the copy, how
// often, and what it wrote besides, tell the one from the other.
class ConfigurationRequest {
public:
  ConfigurationRequest(const ControlDirectory& directory_, const std::string& name_,
                       std::chrono::milliseconds timeout_, Waiting& waiting_)
      : directory(directory_), request(directory.requestFile), scenario(directory.scenarioFile),
        name(name_), copy(directory.configurations + name), timeout(timeout_), waiting(waiting_),
        watch(directory.path), looks(directory) {}

  Answer run(const std::string& content) {
    if (watch.error()) return {Outcome::kNotWritten, request.path, watch.error()};
    waiting.stage("waiting for an earlier request");
    // The daemon ends a swap by writing its answer over whatever the file holds: a request that is
    // put there meanwhile would be lost and look answered.
    if (!within([this] { return nothingIsPending(); })) return {Outcome::kPending, word};
    if (const auto error = replaceFile(copy, content).error)
      return {Outcome::kNotWritten, copy, error};
    // Behind the replacement, which makes another file of it, and before the daemon hears of it.
    OpenWatch opening(copy);
    if (opening.error()) return {Outcome::kNotWritten, copy, opening.error()};
    // Again, since the copying may have taken its time.
    if (!within([this] { return nothingIsPending(); })) return {Outcome::kPending, word};
    others.clear();
    scenario.begin();
    if (const auto error = ask(name)) return {Outcome::kNotWritten, request.path, error};
    return follow(opening);
  }

private:
  Answer follow(OpenWatch& opening) {
    waiting.stage("asking for " + name);
    within([&] { return isAnswered() || isOvertaken() || opening.times() > 0; });
    // In this order: the daemon opens the file before it answers.
    if (opening.times() > 0) return awaitAnswer(opening);
    if (!others.empty()) return giveWay();
    if (!isAnswered()) return withdraw();
    if (isRestarted()) return {Outcome::kRestarted};
    return writes > 1 ? Answer{Outcome::kSwallowed} : Answer{Outcome::kRefused};
  }

  // The daemon's answer goes over whatever others have asked for meanwhile.
  Answer awaitAnswer(OpenWatch& opening) {
    waiting.stage("waiting for " + name + " to be in force");
    if (!within([this] { return isAnswered() || othersIsRead(); })) return {Outcome::kNotFinished};
    if (!isAnswered()) return {Outcome::kOvertaken, others};
    if (isRestarted()) return {Outcome::kRestarted};
    // To see whether it can, and to read it. Once, it was someone else.
    const bool isRead = opening.times() > 1;
    const bool isKept = scenario.isKept();
    if (!others.empty()) return giveWay();
    if (writes > 1 || !isKept) return {Outcome::kSwallowed};
    return {isRead ? Outcome::kInForce : Outcome::kRefused};
  }

  // Has the other's word stand in the file, where the daemon will find it.
  Answer giveWay() {
    if (request.word() != others)
      if (const auto error = ask(others)) return {Outcome::kNotWritten, request.path, error};
    return {Outcome::kOvertaken, others};
  }

  // The next one to ask shall not wait for what nobody reads.
  Answer withdraw() {
    if (const auto error = ask(kParsed)) return {Outcome::kNotWritten, request.path, error};
    waiting.pause(kMoment);
    look();
    return others.empty() ? Answer{Outcome::kNoAnswer} : giveWay();
  }

  std::error_code ask(const std::string& text) {
    const auto error = request.ask(text);
    watch.take();
    writes = 0;
    return error;
  }

  bool nothingIsPending() {
    look();
    // The daemon answers a missing file like a request. An empty one is an answer that it is
    // writing.
    return word == kParsed || word == kNoFile;
  }
  bool isAnswered() {
    look();
    return word == kParsed;
  }
  // Of what `isAnswered` has found just before. A word that comes right behind the daemon's look at
  // the file finds the request taken, which shows in the next moment.
  bool isOvertaken() {
    if (others.empty()) return false;
    if (overtakenAt == Waiting::Time()) overtakenAt = waiting.now();
    return waiting.now() - overtakenAt >= kMoment;
  }
  bool othersIsRead() const { return !others.empty() && word == others && !isUnread; }

  // A starting daemon writes the scenario right behind the answer.
  bool isRestarted() {
    waiting.pause(kMoment);
    look();
    return scenarioIsWritten && scenario.isDefault();
  }

  void look() {
    const int writesBefore = writes;
    for (const FileEvent& event : watch.take())
      note(event);
    scenario.look();
    const std::string before = std::exchange(word, request.word().value_or(kNoFile));
    const bool isOthers = !word.empty() && word != name && word != kParsed && word != kNoFile;
    if (isOthers) others = word;
    // It may stand there before its writing has been told: then no look was at it.
    if (isOthers && word != before && writes == writesBefore) isUnread = true;
    if (const auto displaced = request.displacedWord()) others = *displaced;
  }

  void note(const FileEvent& event) {
    const auto cycle = looks.after(event, waiting.now());
    if (cycle == DaemonLooks::kRead) isUnread = false;
    if (cycle == DaemonLooks::kRead || cycle == DaemonLooks::kAnswer) scenario.noteLook();
    if (event.kind == FileEvent::kRead) return;
    if (event.concerns(directory.scenarioFile)) {
      scenarioIsWritten = true;
      scenario.noteWriting();
    }
    if (!event.concerns(request.path)) return;
    ++writes;
    isUnread = true;
    scenarioIsWritten = false;
  }

  template <typename Condition> bool within(Condition condition) {
    return waitUntil(waiting, waiting.now() + timeout, condition, watch.descriptor());
  }

  const ControlDirectory& directory;
  ControlFile request;
  OthersScenario scenario;
  const std::string& name;
  const std::string copy;
  const std::chrono::milliseconds timeout;
  Waiting& waiting;
  DirectoryWatch watch;
  DaemonLooks looks;
  // What the request file held last, and what another writer has put there since it was asked.
  std::string word;
  std::string others;
  Waiting::Time overtakenAt;
  // Of the request file since it was asked: how often it was written or replaced, and whether the
  // daemon has not looked at it since; whether the scenario file was written behind it.
  int writes = 0;
  bool isUnread = false;
  bool scenarioIsWritten = false;
};

} // namespace

Answer requestConfiguration(const ControlDirectory& directory, const std::string& name,
                            const std::string& content, std::chrono::milliseconds timeout,
                            Waiting& waiting) {
  return ConfigurationRequest(directory, name, timeout, waiting).run(content);
}
