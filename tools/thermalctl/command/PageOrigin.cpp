#include "command/PageOrigin.h"

#include <algorithm>
#include <cstdlib>
#include <ctime>
#include <fstream>
#include <iterator>

#include "file/Names.h"
#include "file/Sha256.h"

namespace {

std::string commandLine() {
  std::ifstream words("/proc/self/cmdline");
  std::string line;
  for (std::string word; std::getline(words, word, '\0');)
    line += (line.empty() ? "" : " ") + shellWord(word);
  return line;
}

// Now, or what whoever wants to make the same file twice says it is.
std::string date() {
  // Nothing here ever changes the environment. NOLINTNEXTLINE(concurrency-mt-unsafe)
  const char* given = std::getenv("SOURCE_DATE_EPOCH");
  const std::time_t time =
      given ? static_cast<std::time_t>(std::strtoll(given, nullptr, 10)) : std::time(nullptr);
  std::tm parts{};
  ::gmtime_r(&time, &parts);
  char text[32];
  std::strftime(text, sizeof text, "%Y-%m-%dT%H:%M:%SZ", &parts);
  return text;
}

} // namespace

std::string shellWord(const std::string& text) {
  const bool isPlain =
      !text.empty() && text.find_first_not_of("abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ"
                                              "0123456789@%+=:,./_-") == std::string::npos;
  if (isPlain) return text;
  std::string word = "'";
  for (const char each : text) {
    if (each == '\'')
      word += "'\\''";
    else
      word += each;
  }
  return word + "'";
}

Provenance originOf(const std::vector<std::string>& files, const std::string& seed) {
  Provenance origin{commandLine(), THERMALCTL_VERSION, date(), seed, {}};
  for (const std::string& file : files) {
    const auto isIt = [&file](const Provenance::Input& input) { return input.path == file; };
    if (std::none_of(origin.inputs.begin(), origin.inputs.end(), isIt))
      origin.inputs.push_back({file, sha256OfFile(file).value_or("")});
  }
  return origin;
}

std::vector<Provenance::Input> inputsByName(const std::vector<std::string>& files) {
  std::vector<Provenance::Input> inputs = originOf(files, "").inputs;
  std::vector<std::string> paths;
  paths.reserve(inputs.size());
  for (const Provenance::Input& input : inputs)
    paths.push_back(input.path);
  for (Provenance::Input& input : inputs)
    input.path = shortName(input.path, paths);
  return inputs;
}
