#include "command/DiffStudy.h"

#include <algorithm>
#include <vector>

#include "command/CheckFirst.h"
#include "command/ExitStatus.h"
#include "command/SimulateOptions.h"
#include "study/StudyFile.h"
#include "text/Phrases.h"

namespace {

namespace fs = std::filesystem;

// Two files are compared whatever their names.
constexpr char kConfiguration[] = "the configuration";
constexpr char kNoStudy[] =
    " cannot be simulated: there is no study.toml beside the board; write there what is run, such "
    "as workloads = [\"game\"], and what it is held to, such as limits = [\"skin=43C\"] below "
    "[[budget]]";

struct ReadySide {
  Study study;
  Tolerances tolerances;
};

// What holds for either file holds for both, so that their verdicts can be compared.
void shareBudgets(std::vector<SelectedBudget>& budgets, const fs::path& file,
                  const fs::path& other) {
  const auto isOfOthers = [&](const SelectedBudget& budget) {
    const auto& paths = budget.configurations;
    return !paths.empty() && std::none_of(paths.begin(), paths.end(), [&](const fs::path& path) {
      return path.filename() == file.filename() || path.filename() == other.filename();
    });
  };
  budgets.erase(std::remove_if(budgets.begin(), budgets.end(), isOfOthers), budgets.end());
  for (SelectedBudget& budget : budgets)
    budget.configurations.clear();
}

// The runs of both sides have the same names, in whatever folder they are.
void nameAlike(std::vector<Study::Cell>& cells, const SimulatedSide& side) {
  const std::string folder = (side.board / "").string();
  for (Study::Cell& cell : cells) {
    if (!side.configuration.empty()) {
      if (cell.name == cell.configuration) cell.name = kConfiguration;
      cell.configuration = kConfiguration;
    }
    for (std::string* name : {&cell.name, &cell.configuration, &cell.workload})
      for (size_t at = name->find(folder); at != std::string::npos; at = name->find(folder))
        name->erase(at, folder.size());
  }
}

std::optional<ReadySide> readyToRun(const SimulatedSide& side, const SimulatedSide& other) {
  if (!hasStudy(side.board)) {
    complain(kCouldNotRun, quoted(side.name) + kNoStudy);
    return std::nullopt;
  }
  SimulateOptions options;
  options.board = side.board.string();
  options.environment = side.environment;
  if (!side.configuration.empty()) options.configurations = {side.configuration};
  Problems problems;
  auto [request, tolerances] = readAskedStudy(options, problems);
  if (!side.configuration.empty())
    shareBudgets(request.budgets, side.configuration, other.configuration);
  ReadySide ready{problems.none() ? readStudy(request, problems) : Study(), std::move(tolerances)};
  if (!mayRun(request.environment, ready.study.configurations, problems)) {
    complain(kCouldNotRun, quoted(side.name) + " cannot be simulated");
    return std::nullopt;
  }
  nameAlike(ready.study.cells, side);
  return ready;
}

} // namespace

bool hasStudy(const fs::path& board) {
  std::error_code ignored;
  return fs::exists(board / kStudyFile, ignored);
}

std::optional<StudyDifference> simulated(const SimulatedSide& before, const SimulatedSide& now) {
  const std::optional<ReadySide> first = readyToRun(before, now);
  const std::optional<ReadySide> second = readyToRun(now, before);
  if (!first || !second) return std::nullopt;
  return differenceOf({before.name, first->study}, {now.name, second->study}, second->tolerances,
                      SimulateOptions().jobs);
}
