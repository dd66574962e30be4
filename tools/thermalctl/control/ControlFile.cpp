#include "control/ControlFile.h"

#include <sys/stat.h>

#include <fstream>

#include "file/ReplaceFile.h"

ControlDirectory::ControlDirectory(const std::string& directory)
    : scenarioFile(directory + "/talmor-thermal.scen"),
      requestFile(directory + "/talmor-thermal.dconf"), configurations(directory + "/config/") {}

bool isOneWord(const std::string& text) {
  return !text.empty() && text != kNoFile && text.find_first_of("\t\n\v\f\r ") == std::string::npos;
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
