#pragma once

#include <string>
#include <vector>

// The file's own name, or the path where that would not tell it from all the others.
std::string shortName(const std::string& path, const std::vector<std::string>& all);
