#pragma once

#include <optional>
#include <ostream>
#include <string>
#include <vector>

#include "margin/MarginResult.h"
#include "margin/MarginStudy.h"
#include "report/Junit.h"

// For who reads a terminal: how many units keep each budget, what those that do not have in common,
// and the worst of them.
void printMargin(const MarginStudy& study, const MarginResult& result, std::ostream& out);

// For a CI: a suite for each run, and in it a case for each budget.
std::vector<JunitSuite> marginSuites(const MarginStudy& study, const MarginResult& result);

// A share of all units as per cent, with as many digits as tell it from none and from all.
std::string percentOf(double share);
// How many of all units there are break a budget, as far as these tell.
std::string brokenText(const MarginResult::Budgeted& budget);
// A figure with its unit.
std::string figureText(const MarginStudy& study, const Measure& measure, int32_t value);
// What the units that broke a budget have in common, as a sentence; empty if none did.
std::string commonText(const MarginStudy& study, const MarginResult::Budgeted& budget);
// What drives a figure, as a sentence; empty where that is not known.
std::string driversText(const MarginStudy& study, const MarginResult::Figure& figure);
// How the question stands, as a sentence; empty without one.
std::string answerText(const MarginResult& result, const MarginResult::Budgeted& budget);
// The figure that a budget is held against.
const MarginResult::Figure& figureOf(const MarginStudy::Run& run, const MarginResult::Run& result,
                                     size_t budget);
