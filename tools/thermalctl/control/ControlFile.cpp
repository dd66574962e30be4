#include "control/ControlFile.h"

#include <fcntl.h>

#include <array>

#include "base/TextReader.h"
#include "file/ReplaceFile.h"

namespace {

bool isSameFile(const struct stat& one, const struct stat& other) {
  return one.st_dev == other.st_dev && one.st_ino == other.st_ino;
}

bool isUnchanged(const struct stat& before, const struct stat& now) {
  return isSameFile(before, now) && before.st_size == now.st_size &&
         before.st_mtim.tv_sec == now.st_mtim.tv_sec &&
         before.st_mtim.tv_nsec == now.st_mtim.tv_nsec;
}

std::string firstWord(const FileHandle& file) {
  std::string content;
  std::array<char, 4096> chunk;
  ssize_t got = 0;
  while ((got = ::pread(file.get(), chunk.data(), chunk.size(),
                        static_cast<off_t>(content.size()))) > 0)
    content.append(chunk.data(), static_cast<size_t>(got));
  const size_t start = content.find_first_not_of(kWhiteSpace);
  if (start == std::string::npos) return "";
  return content.substr(start, content.find_first_of(kWhiteSpace, start) - start);
}

} // namespace

ControlDirectory::ControlDirectory(const std::string& directory)
    : path(directory), scenarioFile(directory + kScenarioFile),
      requestFile(directory + kRequestFile), configurations(directory + kConfigurationFolder) {}

bool isOneWord(const std::string& text) {
  return !text.empty() && text != kNoFile && text.find_first_of(kWhiteSpace) == std::string::npos;
}

std::optional<std::string> ControlFile::word() {
  struct stat there = {};
  if (::stat(path.c_str(), &there) != 0) return std::nullopt;
  if (!file || !isSameFile(there, seen))
    file = FileHandle(::open(path.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC));
  // Before it is read: what is written from here on is seen to be later.
  if (!file || ::fstat(file.get(), &seen) != 0) return std::nullopt;
  return firstWord(file);
}

std::chrono::nanoseconds ControlFile::age() const {
  const auto changed =
      std::chrono::seconds(seen.st_mtim.tv_sec) + std::chrono::nanoseconds(seen.st_mtim.tv_nsec);
  return std::chrono::system_clock::now().time_since_epoch() - changed;
}

std::error_code ControlFile::ask(const std::string& word) {
  Exchange exchange = exchangeFile(path, word);
  if (exchange.error) return exchange.error;
  // What stood there before is kept open: a writer that had opened it before writes into it still,
  // and its word would be lost unseen.
  displaced = std::move(exchange.displaced);
  displacedWas = seen;
  file = std::move(exchange.file);
  ::fstat(file.get(), &seen);
  return {};
}

std::optional<std::string> ControlFile::displacedWord() const {
  struct stat now = {};
  if (!displaced || ::fstat(displaced.get(), &now) != 0 || isUnchanged(displacedWas, now))
    return std::nullopt;
  // Empty: its writer has emptied it and will write into it in a moment.
  const std::string word = firstWord(displaced);
  return word.empty() ? std::nullopt : std::optional(word);
}
