#pragma once

#include <string>
#include <vector>

#include "text/Word.h"

// What `parseInt32` makes of a word: its number, the digits at its front, 0 for want of any, or
// what is left of it in 32 bits.
enum class Reading { kWhole, kCutShort, kNoDigits, kTooLarge };
Reading readingOf(const std::string& word);
// Whether the daemon reads as a number what is written.
bool isNumber(const std::string& word);
// Without digits a list is likely to be a text in the wrong place: its length then says nothing.
bool haveDigits(const std::vector<Number>& list);

// Whether a whole number is more likely degrees than the millidegrees that the daemon takes it for.
// No phone has a use for a threshold between 0.002 and 0.2 degrees, of heat or of cold.
bool looksLikeDegrees(const Number& temperature);
// More than 200 degrees above or below the freezing point.
bool beyondAnySensor(const Number& temperature);
// A number, or the default, that nothing else is to be said against.
bool sound(const Number& number);
bool soundTemperature(const Number& temperature);
