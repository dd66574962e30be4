#pragma once

#include <filesystem>
#include <optional>
#include <string>

#include "diff/StudyDifference.h"

// One side of what an edit changes, as it is run.
//
// Shape: `name` is the user's, `board` the folder with the study. `configuration` is run in the place
//        of those of the study; empty where these are meant.
struct SimulatedSide {
  std::string name;
  std::filesystem::path board;
  std::string environment;
  std::string configuration;
};

bool hasStudy(const std::filesystem::path& board);

// Each side runs the study of its board, under the tolerances of the later one.
//
// Errors: nothing, and the reason told on standard error, where one of them cannot be run.
std::optional<StudyDifference> simulated(const SimulatedSide& before, const SimulatedSide& now);
