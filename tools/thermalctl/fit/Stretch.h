#pragma once

#include <cstddef>
#include <string>
#include <utility>
#include <vector>

#include "fit/Recorded.h"

// A part of a recording without a gap in what warms the device: behind a gap the temperatures of
// the nodes are unknown anew.
//
// Shape: for each file of the recording the rows from `first` up to `second`.
struct Stretch {
  size_t recording = 0;
  std::vector<std::pair<size_t, size_t>> rows;
};

// The stretches of a recording whose clocks are set by `offsets`, in seconds, one for each file:
// what is in no gap, and where something is known of what warms the device. Too short ones, of
// which nothing can be learnt, are left out.
std::vector<Stretch> stretchesOf(const Recorded& recorded, size_t number,
                                 const std::vector<double>& offsets);

// Before anything is known of the clocks: as if none were off. Of a recording hardly longer than
// clocks may be apart little would be left, and it has all that another setting may put where
// something is known.
std::vector<Stretch> stretchesOf(const Recorded& recorded, size_t number);

// Of a recording without any stretch: what it lacks.
std::string tooShortInWords(const Recorded& recorded);
