#pragma once

#include <cstddef>
#include <functional>

#include "margin/Search.h"

// Of an attempt that breaks a budget, as little as breaks it still, within the same bounds: numbers
// of the unit go back to nominal, steps, requests and faults go, times become shorter and numbers
// rounder, as far as each by itself can.
//
// Shape: it may break it by less. What is held against the whole time of a run keeps that.
SearchResult::Smallest shrunk(const SearchSpace& space, size_t budget,
                              const SearchResult::Worst& worst,
                              const std::function<bool()>& goesOn);
