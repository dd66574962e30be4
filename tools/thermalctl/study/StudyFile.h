#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "simulate/Inputs.h"
#include "study/Tolerances.h"
#include "toml/Problems.h"

constexpr char kStudyFile[] = "study.toml";

// A budget that only some of a study's runs are held to.
//
// Shape: by the words of the study's file, or the paths that they mean; without any it is for all.
struct SelectedBudget {
  AskedBudget asked;
  std::vector<std::string> configurations{};
  std::vector<std::string> workloads{};
};

// What is run regularly, and what it is held to, so that nobody has to write it down each time.
//
// Shape:  what the file does not say is empty. Names are as they stand there: of files relative to
//         the file's folder, of workloads also those of the board's own.
// Units:  `duration` in milliseconds.
// Source: a study.toml.
struct StudyFile {
  std::vector<std::string> configurations;
  std::vector<std::string> workloads;
  std::map<std::string, Span> workloadsAt; // where each stands
  std::vector<uint64_t> seeds;
  std::optional<int64_t> duration;
  std::vector<SelectedBudget> budgets;
  Tolerances tolerances = usualTolerances();
};

// As far as it can be read; the rest is told.
StudyFile readStudyFile(const std::string& path, Problems& problems);
