#pragma once

#include <string>
#include <vector>

#include "command/CommandLine.h"
#include "simulate/Inputs.h"
#include "toml/Problems.h"

// What runs are held to, as the user writes it.
struct BudgetOptions {
  std::vector<std::string> limits;
  std::vector<std::string> requirements;
};

// `of` is what a limit may be of.
void addBudgetOptions(CommandLine& line, BudgetOptions& options, const std::string& of);
std::vector<AskedBudget> readBudgets(const BudgetOptions& options, Problems& problems);
