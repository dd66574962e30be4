#pragma once

#include <sstream>
#include <string>

#include "support/SysfsDir.h"
#include "toml/Problems.h"

// A text without the path of the folder in which the files lie.
inline std::string withoutFolder(std::string text, const SysfsDir& folder) {
  const std::string path = folder.node("");
  for (size_t at = text.find(path); at != std::string::npos; at = text.find(path, at))
    text.erase(at, path.size());
  return text;
}

// What a user is told of problems, in the same way.
inline std::string problemText(const Problems& problems, const SysfsDir& folder) {
  std::ostringstream out;
  problems.print(out);
  return withoutFolder(out.str(), folder);
}
