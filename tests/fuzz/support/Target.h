#pragma once

#include <cstddef>
#include <cstdint>

// What each program of this folder defines: one input, from its text to the objects and back to
// nothing. libFuzzer calls it by this name.
// NOLINTNEXTLINE(readability-identifier-naming)
extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size);
