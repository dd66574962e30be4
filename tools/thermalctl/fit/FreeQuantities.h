#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "fit/Quantity.h"
#include "simulate/PlantFile.h"
#include "toml/Problems.h"

// What a resistance is called: by its ends in one order and in the other. A second one between the
// same two has a number.
std::vector<std::string> resistanceNames(const PlantDescription& plant, size_t index);

// The quantities that a plant file gives free in its [fit]: each name or pattern of `free`, with
// the bounds that [[fit.bounds]] gives them. Without a word about it all capacities and
// resistances.
//
// Errors: told in `problems`, with their places. `plant` must be what `readPlant` made of the text.
std::vector<Quantity> readFreeQuantities(const std::string& text, const std::string& file,
                                         const PlantDescription& plant,
                                         const TraceDescription& board, Problems& problems);
