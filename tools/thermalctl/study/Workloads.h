#pragma once

#include <string>

#include "study/Study.h"
#include "toml/Problems.h"

// The file of a workload that a user names: one of the board's own goes before a file of that name
// where the user stands, or in `folder`.
//
// Errors: a word that is neither is told as a problem at `place`, which names the option or the file
//         and where in it the word stands.
std::string findWorkload(const std::string& board, const std::string& folder,
                         const std::string& word, const Problem& place, Problems& problems);

// Each file once, by its name without the ending where that tells them apart.
std::vector<NamedWorkload> namedWorkloads(const std::vector<std::string>& paths);
