#include "study/Seeds.h"

#include <charconv>
#include <sstream>
#include <unordered_set>

namespace {

constexpr char kRange[] = "..";
// More are a slip: nobody waits for so many runs.
constexpr uint64_t kMost = 100'000;
constexpr char kHint[] = "write numbers and ranges, such as 7, 1..20 or 1,2,10..12";

std::optional<uint64_t> numberOf(const std::string& text) {
  uint64_t number = 0;
  const char* const end = text.data() + text.size();
  const auto [stop, error] = std::from_chars(text.data(), end, number);
  return error == std::errc() && stop == end ? std::optional(number) : std::nullopt;
}

} // namespace

SeedsText readSeeds(const std::string& text) {
  std::vector<uint64_t> seeds;
  std::unordered_set<uint64_t> taken;
  std::istringstream parts(text + ",");
  for (std::string part; std::getline(parts, part, ',');) {
    const size_t dots = part.find(kRange);
    const std::optional<uint64_t> first = numberOf(part.substr(0, dots));
    const std::optional<uint64_t> last =
        dots == std::string::npos ? first : numberOf(part.substr(dots + 2));
    if (!first || !last) return {std::nullopt, "'" + part + "' is no seed", kHint};
    if (*first > *last)
      return {std::nullopt, "'" + part + "' ends before it begins",
              "write " + std::to_string(*last) + kRange + std::to_string(*first)};
    if (*last - *first >= kMost)
      return {std::nullopt, "'" + part + "' are more than " + std::to_string(kMost) + " seeds",
              kHint};
    // Held against the length of the range: so it ends behind the largest number of 64 bits, too.
    for (uint64_t seed = *first; seed - *first <= *last - *first; ++seed) {
      if (taken.insert(seed).second) seeds.push_back(seed);
      if (seed == *last) break;
    }
  }
  return {seeds};
}
