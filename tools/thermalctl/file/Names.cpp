#include "file/Names.h"

#include <algorithm>
#include <filesystem>

namespace fs = std::filesystem;

bool isSameFile(const std::string& a, const std::string& b) {
  std::error_code ignored;
  return a == b || fs::equivalent(a, b, ignored);
}

std::string shortName(const std::string& path, const std::vector<std::string>& all) {
  const std::string name = fs::path(path).filename().string();
  const auto namesakes = std::count_if(all.begin(), all.end(), [&name](const std::string& other) {
    return fs::path(other).filename() == name;
  });
  return namesakes > 1 ? path : name;
}

std::vector<std::string> namesBeside(const std::string& path) {
  const fs::path wanted(path);
  const fs::path folder = wanted.has_parent_path() ? wanted.parent_path() : fs::path(".");
  std::vector<std::string> names;
  std::error_code ignored;
  for (const fs::directory_entry& entry : fs::directory_iterator(folder, ignored))
    names.push_back(entry.path().filename());
  std::sort(names.begin(), names.end());
  return names;
}
