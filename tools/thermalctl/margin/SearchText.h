#pragma once

#include <ostream>
#include <string>
#include <vector>

#include "margin/MarginStudy.h"
#include "margin/SearchReport.h"
#include "report/Junit.h"

// For who reads a terminal: what was searched, and how far each budget was broken or kept. Of one
// that was not broken nothing more is said than that.
//
// Shape: the study has the one run that was searched. `replay` is the command that runs again what
//        is told, or empty.
void printSearch(const MarginStudy& study, const SearchReport& report, const std::string& replay,
                 std::ostream& out);

// For a CI: a case for each budget.
std::vector<JunitSuite> searchSuites(const MarginStudy& study, const SearchReport& report);
