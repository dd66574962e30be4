#pragma once

#include <string>
#include <vector>

// Has a board's two files inspected before a command relies on them. Errors are told on standard
// error as "check" tells them; warnings are only counted there, in one line. False with an error:
// the daemon would not do what the files say.
bool passesCheck(const std::string& environment, const std::vector<std::string>& configurations);

// The sensors whose nodes count in something else than millidegrees, as the board's settings say.
std::vector<std::string> sensorsInOtherUnits(const std::string& environment);
