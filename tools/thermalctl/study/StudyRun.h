#pragma once

#include <cstddef>
#include <ostream>

#include "report/RunReport.h"
#include "study/Study.h"

// How many runs stand side by side in the table, and how many a page shows that nobody has asked
// for: of more a reader looks at the results.
constexpr size_t kSideBySide = 5;
constexpr size_t kOnPage = 10;

// Runs all of a study on so many threads. The report has the runs in the order of the study, and
// each is the same, whatever the number of threads: standard error has one line of progress, if it
// is a terminal, and `warnings` what the user should know of a run.
//
// Memory: that of a run for each thread, and some kilobytes for each run.
void runStudy(const Study& study, size_t threads, RunReport& report, std::ostream& warnings);
