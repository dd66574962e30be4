#pragma once

#include <string>

#include "check/rule/Finding.h"

// With a full stop at its end.
std::string sentence(const std::string& text);

// The message and the hint, for whoever has one text for both.
std::string sentencesOf(const Finding& finding);
