#include "file/Names.h"

#include <algorithm>
#include <filesystem>

namespace fs = std::filesystem;

std::string shortName(const std::string& path, const std::vector<std::string>& all) {
  const std::string name = fs::path(path).filename().string();
  const auto namesakes = std::count_if(all.begin(), all.end(), [&name](const std::string& other) {
    return fs::path(other).filename() == name;
  });
  return namesakes > 1 ? path : name;
}
