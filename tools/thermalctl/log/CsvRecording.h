#pragma once

#include <cstddef>
#include <string>
#include <string_view>

#include "log/BoardFolder.h"
#include "trace/Trace.h"

// Whether a text is a trace.csv that this tool wrote.
bool isCsvTrace(std::string_view text);

// What became of the lines of a trace.csv.
//
// Shape:  lines without the one that names the columns; `firstTorn` is 0 where none is torn.
// Errors: a torn line is counted and passed over, so that a file cut off in the middle still shows
//         all that came before.
struct CsvCounts {
  size_t lines = 0;
  size_t torn = 0;      // not of the shape that this tool writes
  size_t firstTorn = 0; // its number, from 1
  size_t runs = 0;
};

// Plays each run of a trace.csv into `sink`, under its own name or, if `prefix` is not empty, with
// that before it. `board` may be null; with one, thresholds and devices come from its configuration
// of the name that the trace has, failing that of the run's name, failing that the first.
CsvCounts playCsv(const std::string& text, const std::string& prefix, const BoardFolder* board,
                  TraceSink& sink);
