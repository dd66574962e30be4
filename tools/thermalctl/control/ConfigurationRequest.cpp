#include "control/ConfigurationRequest.h"

#include "file/OpenWatch.h"
#include "file/ReplaceFile.h"

namespace {

class ConfigurationRequest {
public:
  ConfigurationRequest(const ControlDirectory& directory, const std::string& name_,
                       std::chrono::milliseconds timeout_, Waiting& waiting_)
      : request(directory.requestFile), name(name_), path(directory.configurations + name),
        timeout(timeout_), waiting(waiting_) {}

  Answer run(const std::string& content) {
    waiting.stage("waiting for an earlier request");
    // The daemon ends a swap by writing its answer over whatever the file holds: a request that is
    // put there meanwhile would be lost and look answered.
    if (!within([this] { return nothingIsPending(); })) return {Outcome::kPending, word};
    if (const auto error = replaceFile(path, content).error)
      return {Outcome::kNotWritten, path, error};
    // Behind the replacement, which makes another file of it, and before the daemon hears of it.
    OpenWatch watch(path);
    if (watch.error()) return {Outcome::kNotWritten, path, watch.error()};
    if (const auto error = request.ask(name)) return {Outcome::kNotWritten, request.path, error};
    return follow(watch);
  }

private:
  Answer follow(OpenWatch& watch) {
    waiting.stage("asking for " + name);
    const bool seen = within([&] { return isAnswered() || isOvertaken() || watch.isOpened(); });
    // In this order: the daemon opens the file before it answers.
    if (watch.isOpened()) return awaitAnswer();
    if (!seen) return withdraw();
    return {isAnswered() ? Outcome::kRefused : Outcome::kOvertaken, word};
  }

  Answer awaitAnswer() {
    waiting.stage("waiting for " + name + " to be in force");
    const bool answered = within([this] { return isAnswered(); });
    return {answered ? Outcome::kInForce : Outcome::kNotFinished};
  }

  // The next one to ask shall not wait for what nobody reads.
  Answer withdraw() {
    if (!request.isReplaced()) request.ask(kParsed);
    return {Outcome::kNoAnswer};
  }

  bool nothingIsPending() {
    // The daemon answers a missing file like a request. An empty one is an answer that it is
    // writing.
    readWord();
    return word == kParsed || word == kNoFile;
  }
  bool isAnswered() {
    readWord();
    return word == kParsed;
  }
  // Of the word that `isAnswered` has read just before.
  bool isOvertaken() { return request.isReplaced() && word != name && !word.empty(); }
  void readWord() { word = request.word().value_or(kNoFile); }

  template <typename Condition> bool within(Condition condition) {
    return waitUntil(waiting, waiting.now() + timeout, condition);
  }

  ControlFile request;
  const std::string& name;
  const std::string path;
  const std::chrono::milliseconds timeout;
  Waiting& waiting;
  // What the request file held last.
  std::string word;
};

} // namespace

Answer requestConfiguration(const ControlDirectory& directory, const std::string& name,
                            const std::string& content, std::chrono::milliseconds timeout,
                            Waiting& waiting) {
  return ConfigurationRequest(directory, name, timeout, waiting).run(content);
}
