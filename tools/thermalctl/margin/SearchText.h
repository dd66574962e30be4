#pragma once

#include <ostream>
#include <string>
#include <vector>

#include "margin/Search.h"
#include "report/Junit.h"

// For who reads a terminal: what was searched, and how far each budget was broken or kept. Of one
// that was not broken nothing more is said than that.
//
// Shape: `replay` is the command that runs the attempt again, or empty.
void printSearch(const std::string& title, const SearchSpace& space, const SearchResult& result,
                 const std::string& replay, std::ostream& out);

// For a CI: a case for each budget.
std::vector<JunitSuite> searchSuites(const std::string& run, const SearchSpace& space,
                                     const SearchResult& result);

// What is worth running again: the smallest attempt, or what came nearest to breaking anything.
const Attempt& toldAttempt(const SearchResult& result);
