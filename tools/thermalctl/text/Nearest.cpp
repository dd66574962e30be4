#include "text/Nearest.h"

#include <algorithm>

#include "text/Characters.h"

namespace {

bool same(char a, char b) {
  return lowerCase(a) == lowerCase(b);
}

// Nobody means a name as long as this for another; comparing such would take its time.
constexpr size_t kLongest = 100;

// The slips that a word of this length may hold and still be recognised. One of two letters could
// be a slip for any other.
size_t tolerance(size_t length) {
  return length < 3 ? 0 : length < 6 ? 1 : length < 12 ? 2 : 3;
}

} // namespace

size_t editDistance(const std::string& a, const std::string& b) {
  // Of the first i letters of one word to the first j of the other; by rows, of which the last two
  // are looked back at.
  std::vector<size_t> row(b.size() + 1);
  std::vector<size_t> above = row;
  std::vector<size_t> aboveThat = row;
  for (size_t i = 0; i <= a.size(); ++i) {
    aboveThat.swap(above);
    above.swap(row);
    for (size_t j = 0; j <= b.size(); ++j) {
      size_t& least = row[j] = i + j;
      if (i == 0 || j == 0) continue;
      const size_t replaced = above[j - 1] + (same(a[i - 1], b[j - 1]) ? 0 : 1);
      least = std::min({above[j] + 1, row[j - 1] + 1, replaced});
      // Two letters that have changed places are one slip and not two.
      if (i > 1 && j > 1 && same(a[i - 1], b[j - 2]) && same(a[i - 2], b[j - 1]))
        least = std::min(least, aboveThat[j - 2] + 1);
    }
  }
  return row.back();
}

std::string nearest(const std::string& word, const std::vector<std::string>& candidates) {
  if (word.size() > kLongest) return "";
  std::string best;
  size_t least = tolerance(word.size()) + 1;
  for (const std::string& candidate : candidates) {
    if (candidate == word) return "";
    const size_t longer = std::max(word.size(), candidate.size());
    const size_t shorter = std::min(word.size(), candidate.size());
    // The difference in length is a part of the distance; the table is for near ones alone.
    if (longer - shorter >= least) continue;
    const size_t distance = editDistance(word, candidate);
    if (distance >= least) continue;
    least = distance;
    best = candidate;
  }
  return best;
}

std::string didYouMean(const std::string& word, const std::vector<std::string>& candidates,
                       const std::string& otherwise) {
  const std::string name = nearest(word, candidates);
  return name.empty() ? otherwise : "did you mean '" + name + "'?";
}
