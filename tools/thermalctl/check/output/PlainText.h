#pragma once

#include <ostream>
#include <vector>

#include "check/Inspection.h"
#include "check/rule/Finding.h"
#include "terminal/Colour.h"
#include "text/Source.h"

// Each finding with its line and a hint, as compilers show them, then a line that counts them. Of
// more than a hundred those that matter most are shown.
void printText(std::ostream& out, const std::vector<Finding>& findings, const Sources& sources,
               Colour colour);
// The same of a whole run; the last line tells what was silenced, too.
void printText(std::ostream& out, const Inspection& inspection, Colour colour);
