#pragma once

#include <optional>
#include <string>
#include <vector>

#include "fit/Recorded.h"
#include "log/BoardFolder.h"
#include "simulate/PlantFile.h"
#include "toml/Problems.h"

// Sets a file's clock, by so many seconds.
void shift(RecordedFile& file, double by);

// Reads the files of one recording: device logs and trace.csv files in every form that can be
// plotted, and CSV files of measurements, by their names' ending.
//
// Shape:  `plant` is that of `board`, which tells what sensors and devices there are.
// Errors: told in `problems`, with file and line; nothing is given then. `remarks` has what was left
//         out of what was read.
std::optional<Recorded> readRecording(const std::vector<std::string>& paths,
                                      const PlantDescription& plant, const BoardFolder& board,
                                      Problems& problems, std::vector<std::string>& remarks);
