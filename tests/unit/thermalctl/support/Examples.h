#pragma once

#include <string>
#include <vector>

#include "check/rule/Finding.h"

// The files below tests/thermalctl/examples: for each rule texts with one mistake, which it and no
// other reports, and close ones without.
//
// A mistake of the environment file is in RULE/bad.env, one of a configuration in RULE/bad.conf;
// the close texts are in RULE/good.env and RULE/good.conf. Further variations of either have a
// longer name, such as RULE/bad-at-the-end.conf. A configuration is for the environment file of its
// own name, failing that for the common board.env.

// A file's content; an example that is not there fails the test.
std::string exampleText(const std::string& name);

// What all rules together say about "RULE/bad" or the like.
std::vector<Finding> findingsOf(const std::string& example);

// Every example there is, such as "RULE/bad", in the order of the names.
std::vector<std::string> allExamples();
