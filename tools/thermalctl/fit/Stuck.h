#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "fit/Misfit.h"

// A sensor that shows one reading while its heat goes elsewhere.
//
// Shape: rows of a file of a recording, from `first` up to `end`.
struct Stuck {
  size_t recording = 0;
  size_t file = 0;
  size_t output = 0;
  size_t first = 0;
  size_t end = 0;
  double celsius = 0;
};

std::vector<Stuck> stuckOf(const Misfit& misfit, const Eigen::VectorXd& values);

// Takes the readings away, and nothing else: the rows stay.
void leaveOut(std::vector<Recorded>& recordings, const std::vector<Stuck>& stuck);

// FILE:LINE, what is left out, and from when to when.
std::string inWords(const Stuck& stuck, const std::vector<Recorded>& recordings,
                    const std::vector<std::string>& names);
