#pragma once

#include <string>

#include "toml/Problems.h"

// What a file of a run is named as.
enum class InputKind { kEnvironment, kConfiguration, kPlant, kWorkload };

// Whether a file is by its look something else than it was named as: another of the run's files, a
// binary one, or one that an editor or a spreadsheet has saved in its own way. That is told once,
// and nothing that would follow from it. What is wrong with the bytes of an environment or a
// configuration is left to the check.
bool tellIfForeign(const std::string& text, const std::string& file, InputKind named,
                   Problems& problems);
