#include "file/Sha256.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <vector>

namespace {

// The first 32 bits behind the point of the cube roots of the first 64 primes.
constexpr std::array<uint32_t, 64> kRoots = {
    0x428a2f98, 0x71374491, 0xb5c0fbcf, 0xe9b5dba5, 0x3956c25b, 0x59f111f1, 0x923f82a4, 0xab1c5ed5,
    0xd807aa98, 0x12835b01, 0x243185be, 0x550c7dc3, 0x72be5d74, 0x80deb1fe, 0x9bdc06a7, 0xc19bf174,
    0xe49b69c1, 0xefbe4786, 0x0fc19dc6, 0x240ca1cc, 0x2de92c6f, 0x4a7484aa, 0x5cb0a9dc, 0x76f988da,
    0x983e5152, 0xa831c66d, 0xb00327c8, 0xbf597fc7, 0xc6e00bf3, 0xd5a79147, 0x06ca6351, 0x14292967,
    0x27b70a85, 0x2e1b2138, 0x4d2c6dfc, 0x53380d13, 0x650a7354, 0x766a0abb, 0x81c2c92e, 0x92722c85,
    0xa2bfe8a1, 0xa81a664b, 0xc24b8b70, 0xc76c51a3, 0xd192e819, 0xd6990624, 0xf40e3585, 0x106aa070,
    0x19a4c116, 0x1e376c08, 0x2748774c, 0x34b0bcb5, 0x391c0cb3, 0x4ed8aa4a, 0x5b9cca4f, 0x682e6ff3,
    0x748f82ee, 0x78a5636f, 0x84c87814, 0x8cc70208, 0x90befffa, 0xa4506ceb, 0xbef9a3f7, 0xc67178f2};

constexpr uint32_t rotated(uint32_t word, int bits) {
  return word >> bits | word << (32 - bits);
}

// The words of a block, and those that are made of them.
std::array<uint32_t, 64> scheduleOf(const unsigned char* block) {
  std::array<uint32_t, 64> words{};
  for (size_t i = 0; i < 16; ++i, block += 4)
    words[i] = static_cast<uint32_t>(block[0]) << 24 | static_cast<uint32_t>(block[1]) << 16 |
               static_cast<uint32_t>(block[2]) << 8 | block[3];
  for (size_t i = 16; i < 64; ++i) {
    const uint32_t a = words[i - 15];
    const uint32_t b = words[i - 2];
    words[i] = words[i - 16] + (rotated(a, 7) ^ rotated(a, 18) ^ a >> 3) + words[i - 7] +
               (rotated(b, 17) ^ rotated(b, 19) ^ b >> 10);
  }
  return words;
}

} // namespace

// FIPS 180-4: `first` and `second` are its T1 and T2, with the letters of its working variables.
void Sha256::take(const unsigned char* block) {
  const std::array<uint32_t, 64> words = scheduleOf(block);
  auto [a, b, c, d, e, f, g, h] = state;
  for (size_t i = 0; i < 64; ++i) {
    const uint32_t first = h + (rotated(e, 6) ^ rotated(e, 11) ^ rotated(e, 25)) +
                           ((e & f) ^ (~e & g)) + kRoots[i] + words[i];
    const uint32_t second =
        (rotated(a, 2) ^ rotated(a, 13) ^ rotated(a, 22)) + ((a & b) ^ (a & c) ^ (b & c));
    h = g;
    g = f;
    f = e;
    e = d + first;
    d = c;
    c = b;
    b = a;
    a = first + second;
  }
  const std::array<uint32_t, 8> added{a, b, c, d, e, f, g, h};
  for (size_t i = 0; i < added.size(); ++i)
    state[i] += added[i];
}

void Sha256::add(std::string_view bytes) {
  while (!bytes.empty()) {
    const size_t filled = length % kBlock;
    const std::string_view piece = bytes.substr(0, kBlock - filled);
    std::copy(piece.begin(), piece.end(), rest.begin() + static_cast<ptrdiff_t>(filled));
    length += piece.size();
    bytes.remove_prefix(piece.size());
    if (length % kBlock == 0) take(rest.data());
  }
}

std::string Sha256::digest() {
  const uint64_t bits = 8 * length;
  // A bit, zeros, and the length as the last eight bytes of a block.
  std::string end(1 + (kBlock + 55 - length % kBlock) % kBlock, '\0');
  end.front() = '\x80';
  for (int shift = 56; shift >= 0; shift -= 8)
    end += static_cast<char>(bits >> shift & 0xff);
  add(end);
  std::string text;
  for (const uint32_t word : state) {
    for (int shift = 28; shift >= 0; shift -= 4)
      text += "0123456789abcdef"[word >> shift & 0xf];
  }
  return text;
}

std::optional<std::string> sha256OfFile(const std::string& path) {
  std::error_code ignored;
  std::ifstream file(path, std::ios::binary);
  if (!file || !std::filesystem::is_regular_file(path, ignored)) return std::nullopt;
  Sha256 sum;
  std::vector<char> block(1 << 16);
  while (file.read(block.data(), static_cast<std::streamsize>(block.size())), file.gcount() > 0)
    sum.add({block.data(), static_cast<size_t>(file.gcount())});
  return file.bad() ? std::nullopt : std::optional(sum.digest());
}
