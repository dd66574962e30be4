#pragma once

#include <sstream>
#include <string>

#include "support/SysfsDir.h"
#include "toml/Problems.h"

// What a user is told of problems, without the path of the folder in which the files lie.
inline std::string problemText(const Problems& problems, const SysfsDir& folder) {
  std::ostringstream out;
  problems.print(out);
  std::string text = out.str();
  const std::string prefix = folder.node("");
  for (size_t at = text.find(prefix); at != std::string::npos; at = text.find(prefix, at))
    text.erase(at, prefix.size());
  return text;
}
