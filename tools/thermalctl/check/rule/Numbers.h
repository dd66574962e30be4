#pragma once

#include <string>

#include "text/Word.h"

// What `parseInt32` makes of a word.
enum class Reading { kWhole, kCutShort, kNoDigits, kTooLarge };
Reading readingOf(const std::string& word);

bool looksLikeDegrees(const Number& temperature);
bool beyondAnySensor(const Number& temperature);
// A number, or the default, that nothing else is to be said against.
bool sound(const Number& number);
bool soundTemperature(const Number& temperature);
