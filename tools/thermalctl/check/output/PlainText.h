#pragma once

#include <ostream>
#include <vector>

#include "check/rule/Finding.h"
#include "terminal/Colour.h"
#include "text/Source.h"

// Each finding with its line and a hint, as compilers show them, then a line that counts them.
void printText(std::ostream& out, const std::vector<Finding>& findings, const Sources& sources,
               Colour colour);
