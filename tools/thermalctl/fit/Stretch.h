#pragma once

#include <cstddef>
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
