#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "board/Configuration.h"
#include "text/Word.h"

// What `parseInt32` makes of a word: its number, the digits at its front, 0 for want of any, or
// what is left of it in 32 bits.
enum class NumberReading { kWhole, kCutShort, kNoDigits, kTooLarge };
NumberReading readingOf(const std::string& word);
// Whether the daemon reads as a number what is written.
bool isNumber(const std::string& word);
// Without digits a list is likely to be a text in the wrong place: its length then says nothing.
bool haveDigits(const std::vector<Number>& list);

// Whether a level table is 0 1 2 3, or 1 2 3: numbers of states, which mean what the driver makes
// of them.
bool countsStates(const Section& device);

// With a sum of weights nearer to 1 than this, a virtual sensor settles more than 5 % off the mean
// of its sources.
constexpr int64_t kLeastDivisor = 20;

// Such as "42.5 °C".
std::string celsius(int64_t millidegrees);
// The unit of an item's temperatures, that of its sensor.
int32_t unitOf(const Item& item);
// "thousandths of a degree", "tenths of a degree" or "degrees".
const char* nameOfUnit(int32_t unit);

// Whether a whole number is more likely degrees than what the daemon takes it for. No phone has a
// use for a threshold between 0.002 and 0.2 degrees, of heat or of cold.
bool looksLikeDegrees(const Number& temperature, int32_t unit = 1);
// More than 200 degrees above or below the freezing point.
bool beyondAnySensor(const Number& temperature, int32_t unit = 1);
// Below what a phone ever is while it is in use, so that heat is above it at all times; for an item
// that acts on cold, next to the freezing point.
bool outOfUse(const Number& temperature, const Item& item);
// A number, or the default, that nothing else is to be said against.
bool sound(const Number& number);
bool soundTemperature(const Number& temperature, const Item& item);
