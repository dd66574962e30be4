#include "check/configuration/ConfigurationRules.h"

const std::vector<Rule>& configurationRules() {
  static const std::vector<Rule> rules = [] {
    std::vector<Rule> all;
    for (const std::vector<Rule>* theme :
         {&endRules(), &shapeRules(), &keyRules(), &nameRules(), &numberRules(), &thresholdRules(),
          &rowRules(), &stepRules()})
      all.insert(all.end(), theme->begin(), theme->end());
    return all;
  }();
  return rules;
}
