#pragma once

#include <ostream>

#include "check/Inspection.h"

// The findings as commands of a GitHub workflow, each of which marks a line of a pull request; then
// a line that counts them. Of more than a hundred those that matter most.
void printAnnotations(std::ostream& out, const Inspection& inspection);
