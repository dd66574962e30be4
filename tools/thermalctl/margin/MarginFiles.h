#pragma once

#include <ostream>

#include "margin/MarginResult.h"
#include "margin/MarginStudy.h"
#include "margin/UnitRows.h"

// Of the file that `writeMarginJson` writes: it grows with every change that an older reader would
// misunderstand.
constexpr int kMarginVersion = 1;

// All of a result, in degrees Celsius, seconds, per cent and changes a minute. `complete` says
// whether all units were run that were asked for.
void writeMarginJson(const MarginStudy& study, const MarginResult& result, bool complete,
                     std::ostream& out);

// A row for each unit and run, with its figures called as in results.csv and the standard numbers
// of its drivers.
void writeMarginCsv(const MarginStudy& study, uint64_t first, const UnitRows& units,
                    std::ostream& out);
