#include "file/Sha256.h"

#include <string>
#include <string_view>

#include <gtest/gtest.h>

namespace {

std::string sumOf(std::string_view bytes) {
  Sha256 sum;
  sum.add(bytes);
  return sum.digest();
}

TEST(Sha256Test, IsThatOfTheStandardsExamples) {
  EXPECT_EQ(sumOf(""), "e3b0c44298fc1c149afbf4c8996fb92427ae41e4649b934ca495991b7852b855");
  EXPECT_EQ(sumOf("abc"), "ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad");
  EXPECT_EQ(sumOf("abcdbcdecdefdefgefghfghighijhijkijkljklmklmnlmnomnopnopq"),
            "248d6a61d20638b8e5c026930c3e6039a33ce45964ff2167f6ecedd419db06c1");
  EXPECT_EQ(sumOf(std::string(1000000, 'a')),
            "cdc76e5c9914fb9281a1c7e284d73e67f1809a48a497200e046d39ccc7112cd0");
}

TEST(Sha256Test, DoesNotDependOnThePieces) {
  const std::string text(300, 'x');
  for (const size_t piece : {1u, 7u, 55u, 56u, 63u, 64u, 65u, 128u}) {
    Sha256 sum;
    for (size_t at = 0; at < text.size(); at += piece)
      sum.add(std::string_view(text).substr(at, piece));
    EXPECT_EQ(sum.digest(), sumOf(text)) << piece;
  }
}

} // namespace
