#include "command/BudgetOptions.h"

#include <fmt/format.h>

#include "trace/Budget.h"

namespace {

void read(const std::string& option, const std::vector<std::string>& texts,
          BudgetText (*reader)(const std::string&), std::vector<AskedBudget>& budgets,
          Problems& problems) {
  for (const std::string& text : texts) {
    const BudgetText read = reader(text);
    if (read.budget)
      budgets.push_back({*read.budget, option + " " + subjectOf(*read.budget)});
    else
      problems.add({fmt::format("{} {}", option, text), {}, read.wrong, read.hint});
  }
}

} // namespace

void addBudgetOptions(CommandLine& line, BudgetOptions& options, const std::string& of) {
  line.option("--limit", &options.limits,
              "Temperature that " + of +
                  ", must not pass, such as skin=43C; in all for a time, skin=43C:60s; or a "
                  "percentile of it, p95:skin=42C")
      .takes("NAME=TEMPERATURE")
      .takesAll();
  line.option("--require", &options.requirements,
              "The least share of its work that a source must do, such as work:gpu=75%, or how "
              "often a device may change its level, such as changes:cpu_big<=6/min")
      .takes("REQUIREMENT")
      .takesAll();
}

std::vector<AskedBudget> readBudgets(const BudgetOptions& options, Problems& problems) {
  std::vector<AskedBudget> budgets;
  read("--limit", options.limits, readLimit, budgets, problems);
  read("--require", options.requirements, readRequirement, budgets, problems);
  return budgets;
}
