#pragma once

#include <array>
#include <cstdint>

// Random numbers by their place, so that any one can be drawn without those before it
// (Philox4x32-10, with the constants of its authors).
//
// Shape:  four words for each counter and key; another bit of either gives four others.
// Source: Salmon, Moraes, Dror, Shaw: Parallel random numbers: as easy as 1, 2, 3 (2011).
inline std::array<uint32_t, 4> philox(std::array<uint32_t, 4> counter,
                                      std::array<uint32_t, 2> key) {
  constexpr int kRounds = 10;
  for (int round = 0; round < kRounds; ++round) {
    const uint64_t first = uint64_t{0xd2511f53} * counter[0];
    const uint64_t second = uint64_t{0xcd9e8d57} * counter[2];
    counter = {
        static_cast<uint32_t>(second >> 32) ^ counter[1] ^ key[0], static_cast<uint32_t>(second),
        static_cast<uint32_t>(first >> 32) ^ counter[3] ^ key[1], static_cast<uint32_t>(first)};
    key = {key[0] + 0x9e3779b9, key[1] + 0xbb67ae85};
  }
  return counter;
}
