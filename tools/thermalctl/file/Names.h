#pragma once

#include <string>
#include <vector>

// Whether two paths lead to one file, or are the same.
bool isSameFile(const std::string& a, const std::string& b);

// How a file is called where the user sees it: by its own name, or by the path where that would not
// tell it from all the others. `all` holds `path` itself, too.
std::string shortName(const std::string& path, const std::vector<std::string>& all);

// What lies where `path` would, in the order of the alphabet; nothing where there is no such
// directory.
std::vector<std::string> namesBeside(const std::string& path);
