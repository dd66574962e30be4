#include "margin/Philox.h"

#include <gtest/gtest.h>

namespace {

using Words = std::array<uint32_t, 4>;

// The known answers that its authors publish with it.
TEST(PhiloxTest, GivesTheKnownAnswers) {
  EXPECT_EQ(philox({0, 0, 0, 0}, {0, 0}), (Words{0x6627e8d5, 0xe169c58d, 0xbc57ac4c, 0x9b00dbd8}));
  EXPECT_EQ(philox({~0U, ~0U, ~0U, ~0U}, {~0U, ~0U}),
            (Words{0x408f276d, 0x41c83b0e, 0xa20bc7c6, 0x6d5451fd}));
  EXPECT_EQ(philox({0x243f6a88, 0x85a308d3, 0x13198a2e, 0x03707344}, {0xa4093822, 0x299f31d0}),
            (Words{0xd16cfe09, 0x94fdcceb, 0x5001e420, 0x24126ea1}));
}

} // namespace
