#pragma once

#include <cstddef>
#include <string>
#include <string_view>

#include "log/BoardFolder.h"
#include "trace/Trace.h"

// Whether a text is a trace.csv that this tool wrote.
bool isCsvTrace(std::string_view text);

struct CsvCounts {
  size_t lines = 0;
  size_t torn = 0;      // not of the shape that this tool writes
  size_t firstTorn = 0; // its number, from 1
  size_t runs = 0;
};

// Plays each run of a trace.csv into `sink`, under its own name or, if `prefix` is not empty, with
// that before it. `board` may be null.
CsvCounts playCsv(const std::string& text, const std::string& prefix, const BoardFolder* board,
                  TraceSink& sink);
