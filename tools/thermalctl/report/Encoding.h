#pragma once

#include <cstdint>
#include <string>

// Numbers as text of few characters, for the page: base 64 digits of five bits and a sign to go on,
// the sign of the number in its lowest bit.
void appendNumber(std::string& text, int64_t number);
