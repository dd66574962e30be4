#pragma once

#include <map>
#include <string>

#include "check/Inspection.h"

// What tells a finding from all others of its file, whatever lines are put in or taken out above
// it: so that a review system knows it again in the next version.
//
// Shape:  made of the rule, the file, the scenario, the section or item, and the key; of several
//         such the first, the second and so on. 16 hexadecimal digits.
// Errors: two findings may change places with each other, if both are of one rule at one key.
class Fingerprints {
public:
  explicit Fingerprints(const Inspection& inspection_) : inspection(inspection_) {}

  // Each finding once, in their order.
  std::string of(const Finding& finding);

private:
  const Inspection& inspection;
  std::map<std::string, int> seen;
};
