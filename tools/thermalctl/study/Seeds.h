#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

// What a text says of seeds: the seeds, or what is wrong.
//
// Shape: `wrong` and `hint` are lines of text.
struct SeedsText {
  std::optional<std::vector<uint64_t>> seeds;
  std::string wrong{};
  std::string hint{};
};

// Takes numbers and ranges with commas between them: "7", "1..20", "1,2,10..12".
SeedsText readSeeds(const std::string& text);
