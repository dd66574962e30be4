#include "check/environment/EnvironmentRules.h"

#include <algorithm>

#include "text/Nearest.h"

const std::vector<Rule>& environmentRules() {
  static const std::vector<Rule> rules = [] {
    std::vector<Rule> all;
    for (const std::vector<Rule>* theme :
         {&sectionRules(), &sensorRules(), &virtualSensorRules(), &levelTableRules(), &nodeRules()})
      all.insert(all.end(), theme->begin(), theme->end());
    return all;
  }();
  return rules;
}

bool isNumber(const std::string& text) {
  return readingOf(text) == Reading::kWhole;
}

std::vector<const Section*> sectionsOf(const Environment& environment, SectionKind kind) {
  std::vector<const Section*> sections;
  for (const Section& section : environment.sections)
    if (section.kind == kind) sections.push_back(&section);
  return sections;
}

std::vector<const Property*> ownProperties(const Section& section) {
  std::vector<const Property*> own;
  for (const Property& property : section.properties) {
    if (property.key.text[0] == '[') break;
    own.push_back(&property);
  }
  return own;
}

std::string meantKey(const Section& section, const Property& property) {
  return property.known ? "" : nearest(property.key.text, sectionKeys(section.kind));
}

bool triesToGive(const Section& section, const std::string& key) {
  return std::any_of(section.properties.begin(), section.properties.end(),
                     [&](const Property& property) {
                       return property.key.text == key || meantKey(section, property) == key;
                     });
}
