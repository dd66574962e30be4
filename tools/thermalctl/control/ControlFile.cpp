#include "control/ControlFile.h"

#include <sys/stat.h>

#include <fstream>

#include "base/TextReader.h"
#include "file/ReplaceFile.h"

ControlDirectory::ControlDirectory(const std::string& directory)
    : scenarioFile(directory + kScenarioFile), requestFile(directory + kRequestFile),
      configurations(directory + kConfigurationFolder) {}

bool isOneWord(const std::string& text) {
  return !text.empty() && text != kNoFile && text.find_first_of(kWhiteSpace) == std::string::npos;
}

std::optional<std::string> ControlFile::word() const {
  std::ifstream file(path);
  if (!file.is_open()) return std::nullopt;
  std::string word;
  file >> word;
  return word;
}

std::error_code ControlFile::ask(const std::string& word) {
  Replacement replacement = replaceFile(path, word);
  if (!replacement.error) asked = std::move(replacement.file);
  return replacement.error;
}

bool ControlFile::isReplaced() const {
  struct stat status = {};
  // The file of the last question is kept open: without a name left it was replaced, or removed.
  return asked && ::fstat(asked.get(), &status) == 0 && status.st_nlink == 0;
}
