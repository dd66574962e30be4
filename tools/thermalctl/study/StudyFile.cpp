#include "study/StudyFile.h"

#include <algorithm>
#include <cerrno>
#include <system_error>

#include "base/TextReader.h"
#include "study/Seeds.h"
#include "text/Nearest.h"
#include "text/Numbers.h"
#include "text/Phrases.h"
#include "toml/TomlSection.h"

// What a study is, in a file:
//   configurations = ["day.conf", "night.conf"]
//   workloads = ["game.csv", "charge.csv"]
//   seeds = "1..10"
//   duration = "1h"
//   [[budget]]
//   workloads = ["game.csv"]
//   limits = ["skin=43C"]
//   [tolerance]
//   peak = 0.1

namespace {

class Reader {
public:
  Reader(TomlSection file_, const std::string& path_) : file(std::move(file_)), path(path_) {}

  StudyFile read() {
    study.configurations = file.texts("configurations");
    study.workloads = file.texts("workloads");
    for (size_t i = 0; i < study.workloads.size(); ++i)
      study.workloadsAt.emplace(study.workloads[i], file.at("workloads", i));
    readSeedsOf();
    readDurationOf();
    for (TomlSection& section : file.list("budget"))
      readBudgets(section);
    if (auto section = file.section("tolerance")) readTolerances(*section);
    file.refuseOtherKeys();
    return std::move(study);
  }

private:
  void readSeedsOf() {
    const std::optional<std::string> text = file.word("seeds");
    if (!text) return;
    const SeedsText read = readSeeds(*text);
    if (read.seeds)
      study.seeds = *read.seeds;
    else
      file.problem(file.at("seeds"), read.wrong, read.hint);
  }

  void readDurationOf() {
    const std::optional<std::string> text = file.word("duration");
    if (!text) return;
    study.duration = parseDuration(*text);
    if (study.duration.value_or(0) > 0) return;
    file.problem(file.at("duration"), "'duration' must be a time above 0, such as 90s or 1h");
  }

  void readBudgets(TomlSection& section) {
    const std::vector<std::string> configurations =
        selected(section, "configurations", study.configurations);
    const std::vector<std::string> workloads = selected(section, "workloads", study.workloads);
    const auto take = [&](const char* key, BudgetText (*reader)(const std::string&)) {
      const std::vector<std::string> texts = section.texts(key);
      for (size_t i = 0; i < texts.size(); ++i) {
        const BudgetText read = reader(texts[i]);
        const Span at = section.at(key, i);
        if (read.budget)
          study.budgets.push_back({{*read.budget, path, at}, configurations, workloads});
        else
          section.problem(at, ::quoted(texts[i]) + ": " + read.wrong, read.hint);
      }
      return !texts.empty();
    };
    const bool hasLimits = take("limits", readLimit);
    const bool hasRequirements = take("requirements", readRequirement);
    section.refuseOtherKeys();
    if (!hasLimits && !hasRequirements)
      section.problem(section.at(), "a budget without 'limits' and 'requirements'",
                      "write what its runs are held to, such as limits = [\"skin=43C\"]");
  }

  // A budget for what is not run would always be kept.
  static std::vector<std::string> selected(TomlSection& section, const char* key,
                                           const std::vector<std::string>& all) {
    std::vector<std::string> names = section.texts(key);
    for (size_t i = 0; i < names.size(); ++i) {
      if (std::find(all.begin(), all.end(), names[i]) == all.end())
        section.problem(section.at(key, i), ::quoted(names[i]) + " is none of the study's " + key,
                        didYouMean(names[i], all, all.empty() ? "" : "there are " + listed(all)));
    }
    return names;
  }

  void readTolerances(TomlSection& section) {
    for (const auto& [name, amount] : section.allWords()) {
      const ToleranceProblem problem = setTolerance(name, amount, study.tolerances);
      if (!problem.wrong.empty()) section.problem(section.atKey(name), problem.wrong, problem.hint);
    }
  }

  TomlSection file;
  const std::string& path;
  StudyFile study;
};

} // namespace

StudyFile readStudyFile(const std::string& path, Problems& problems) {
  errno = 0;
  const std::optional<std::string> text = readFile(path);
  if (!text) {
    problems.add({path, {}, "cannot be read: " + std::generic_category().message(errno)});
    return {};
  }
  const auto table = parseToml(*text, path, problems);
  return table ? Reader(TomlSection(*table, path, problems), path).read() : StudyFile();
}
