#pragma once

#include <algorithm>
#include <cstdint>
#include <string>
#include <thread>
#include <vector>

#include "command/BudgetOptions.h"
#include "command/CommandLine.h"
#include "command/OutputOptions.h"
#include "command/RecordingOption.h"
#include "command/UnitOption.h"
#include "study/Study.h"
#include "study/Tolerances.h"
#include "toml/Problems.h"

// What the user of "simulate" gives.
struct SimulateOptions {
  std::string board;
  std::string study;
  std::string environment;
  std::vector<std::string> configurations;
  std::string plant;
  std::vector<std::string> workloads;
  RecordingOption recording;
  std::string duration;
  std::vector<std::string> seeds;
  uint64_t jobs = std::max(1U, std::thread::hardware_concurrency());
  BudgetOptions budgets;
  OutputOptions outputs;
  std::string against;
  std::vector<std::string> tolerances;
  UnitOption unit;
};

// What it comes to, with the study's file and the board's folder for the rest.
//
// Errors: as far as it can be read; the rest is told.
struct AskedStudy {
  StudyRequest request;
  Tolerances tolerances;
};

// What says what is run; `seedHelp` is of its --seed.
void addRunOptions(CommandLine& line, SimulateOptions& options, const std::string& seedHelp);
void addSimulateOptions(CommandLine& line, SimulateOptions& options);
AskedStudy readAskedStudy(const SimulateOptions& options, Problems& problems);

// What a page of the study is called.
std::string titleOf(const StudyRequest& request);
// All files that it was read from.
std::vector<std::string> filesOf(const StudyRequest& request, const Study& study);
