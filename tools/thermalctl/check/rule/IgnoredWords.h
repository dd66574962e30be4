#pragma once

#include <optional>
#include <string>
#include <vector>

#include "text/Word.h"

// The word right behind `word` on its line.
std::optional<Word> wordBehind(const std::vector<std::string>& lines, const Word& word);

// The same, unless the line below is blank: then the daemon works on with what is left of this one.
std::optional<Word> ignoredBehind(const std::vector<std::string>& lines, const Word& word);
