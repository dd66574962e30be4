#pragma once

#include <string>
#include <vector>

#include "report/Provenance.h"

// What a page tells of the command that is run now, with this version of the tool and these files.
//
// Shape:  the command line as a shell would take it, the files in the order given, each once.
// Errors: a file that cannot be read has no digest.
Provenance originOf(const std::vector<std::string>& files, const std::string& seed);

// The same files as they are called where there is no room for a path.
std::vector<Provenance::Input> inputsByName(const std::vector<std::string>& files);

// A word as a shell takes it for one.
std::string shellWord(const std::string& text);
