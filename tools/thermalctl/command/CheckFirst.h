#pragma once

#include <string>
#include <vector>

// Has a board's two files inspected before a command relies on them. Errors are told on standard
// error as "check" tells them; warnings are only counted there, in one line. False with an error:
// the daemon would not do what the files say.
bool passesCheck(const std::string& environment, const std::vector<std::string>& configurations);
