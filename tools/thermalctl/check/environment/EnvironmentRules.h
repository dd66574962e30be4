#pragma once

#include <string>
#include <vector>

#include "check/rule/Numbers.h"
#include "check/rule/Rule.h"
#include "text/Phrases.h"

// The environment's rules by theme; `environmentRules` is all of them.
const std::vector<Rule>& sectionRules();
const std::vector<Rule>& sensorRules();
const std::vector<Rule>& virtualSensorRules();
const std::vector<Rule>& levelTableRules();
const std::vector<Rule>& nodeRules();

// Whether the daemon reads as a number what is written.
bool isNumber(const std::string& text);

// The sections of one kind in the file's order.
std::vector<const Section*> sectionsOf(const Environment& environment, SectionKind kind);

// Every property up to the header of a further section, which is in the wrong place: what stands
// behind it was not meant for this section.
std::vector<const Property*> ownProperties(const Section& section);

// The key of this section that an unknown one is a slip for, or an empty text.
std::string meantKey(const Section& section, const Property& property);

// Whether the section has the key, if only misspelt: then it is not missing.
bool triesToGive(const Section& section, const std::string& key);
