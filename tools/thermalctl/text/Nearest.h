#pragma once

#include <string>
#include <vector>

// How many letters must be put in, taken out, replaced or swapped with their neighbour to turn one
// word into the other; capitals count as their small letters.
size_t editDistance(const std::string& a, const std::string& b);

// The candidate that `word` is most likely a slip for: the nearest one, the first of several. Empty
// when none is near enough, or when `word` is itself one of them.
std::string nearest(const std::string& word, const std::vector<std::string>& candidates);

// "did you mean 'WORD'?" with the nearest candidate, or `otherwise`.
std::string didYouMean(const std::string& word, const std::vector<std::string>& candidates,
                       const std::string& otherwise = "");
