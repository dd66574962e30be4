#pragma once

#include <optional>
#include <string>
#include <vector>

#include "fit/Recorded.h"
#include "simulate/PlantFile.h"

// How far each file's clock is behind the first one's, as the temperatures of a plant go best with
// the readings. Nothing where the readings do not tell it.
//
// Units: seconds, by file.
std::optional<std::vector<double>> clocksOf(const Recorded& recorded,
                                            const PlantDescription& plant);

// "rails.csv: its clock is 3.40 s behind that of game.log"
std::string clockInWords(const RecordedFile& file, double offset, const RecordedFile& first);
