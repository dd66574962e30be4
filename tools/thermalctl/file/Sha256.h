#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

// SHA-256 of bytes that come piece by piece, as FIPS 180-4 has it. Written here because the tool
// runs on a device, too, for which there is no library with it.
class Sha256 {
public:
  void add(std::string_view bytes);
  // Of all that was added, as 64 hexadecimal digits. Nothing may be added behind it.
  std::string digest();

private:
  static constexpr size_t kBlock = 64;

  void take(const unsigned char* block);

  std::array<uint32_t, 8> state{0x6a09e667, 0xbb67ae85, 0x3c6ef372, 0xa54ff53a,
                                0x510e527f, 0x9b05688c, 0x1f83d9ab, 0x5be0cd19};
  std::array<unsigned char, kBlock> rest{}; // what does not fill a block yet
  uint64_t length = 0;                      // of all, in bytes
};

// Of a regular file; nothing for what is none, or cannot be read.
std::optional<std::string> sha256OfFile(const std::string& path);
