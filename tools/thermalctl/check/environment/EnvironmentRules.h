#pragma once

#include <string>
#include <vector>

#include "check/rule/Numbers.h"
#include "check/rule/Rule.h"
#include "text/Phrases.h"

// The environment's rules by theme; `environmentRules` is all of them.
std::vector<Rule> sectionRules();
std::vector<Rule> sensorRules();
std::vector<Rule> virtualSensorRules();
std::vector<Rule> levelTableRules();
std::vector<Rule> nodeRules();

// Marks words of the environment file.
class Marker {
public:
  Marker(const Subject& subject, Findings& findings_)
      : file(subject.environment.file), findings(findings_) {}

  void operator()(const Word& word, const std::string& message,
                  const std::string& hint = "") const {
    findings.add(file, word, message, hint);
  }

private:
  const std::string& file;
  Findings& findings;
};

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
