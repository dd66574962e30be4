#pragma once

#include <string>
#include <vector>

#include "check/rule/Finding.h"
#include "integrate/IntegrationFiles.h"

// Tells by which lines a file differs from the one that would be made today: lines that are
// missing, that nothing asks for, or that say something else. White space and remarks make no
// difference where the file has a sign for remarks.
//
// Shape:  the findings' file is `path`; a missing line is marked where it should stand.
std::vector<Finding> compareFile(const std::string& path, const std::string& found,
                                 const IntegrationFile& wanted, const std::string& environment);
