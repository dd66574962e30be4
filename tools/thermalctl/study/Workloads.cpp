#include "study/Workloads.h"

#include <algorithm>
#include <filesystem>
#include <vector>

#include "file/Names.h"
#include "text/Nearest.h"
#include "text/Phrases.h"

namespace {

namespace fs = std::filesystem;

// The names of the board's own.
std::vector<std::string> workloadNames(const fs::path& folder) {
  std::vector<std::string> names;
  std::error_code ignored;
  for (const auto& entry : fs::directory_iterator(folder, ignored)) {
    const fs::path& path = entry.path();
    const bool isWorkload = path.extension() == ".csv" || path.extension() == ".toml";
    if (isWorkload && entry.is_regular_file(ignored)) names.push_back(path.stem());
  }
  std::sort(names.begin(), names.end());
  return names;
}

} // namespace

std::string findWorkload(const std::string& board, const std::string& folder,
                         const std::string& word, const Problem& place, Problems& problems) {
  std::string path = (fs::path(folder) / word).string();
  if (board.empty()) return path;
  std::error_code ignored;
  const fs::path own = fs::path(board) / "workloads";
  for (const char* ending : {".csv", ".toml"}) {
    const fs::path file = own / (word + ending);
    if (fs::is_regular_file(file, ignored)) return file;
  }
  // What looks like a path is one: that it cannot be read is told where it is read.
  const bool isName = fs::path(word).filename() == word;
  const std::vector<std::string> names = workloadNames(own);
  if (isName && !names.empty() && !fs::exists(path, ignored)) {
    Problem problem = place;
    problem.what += "is no file, and no workload of " + board;
    problem.hint = didYouMean(word, names, "there are " + listed(names));
    problems.add(problem);
  }
  return path;
}

std::vector<NamedWorkload> namedWorkloads(const std::vector<std::string>& paths) {
  std::vector<NamedWorkload> workloads;
  for (const std::string& path : paths) {
    const auto known = [&path](const NamedWorkload& other) { return isSameFile(path, other.path); };
    if (std::none_of(workloads.begin(), workloads.end(), known))
      workloads.push_back({fs::path(path).stem().string(), path});
  }
  const std::vector<NamedWorkload> all = workloads;
  for (NamedWorkload& workload : workloads) {
    const auto namesakes = std::count_if(all.begin(), all.end(), [&](const NamedWorkload& other) {
      return fs::path(other.path).stem() == fs::path(workload.path).stem();
    });
    if (namesakes > 1) workload.name = workload.path;
  }
  return workloads;
}
