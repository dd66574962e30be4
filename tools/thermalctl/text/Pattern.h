#pragma once

#include <optional>
#include <string>
#include <vector>

#include <regex.h>

// A regular expression, as POSIX extends them: `grep -E` knows the same.
//
// Shape:   of all ways to match the longest of those that begin first. The system's own, because
//          std::regex takes four seconds to compile in each file that includes it, and as deep a
//          stack as the text is long.
// Errors:  an expression that is none is a slip of whoever wrote it, and matches nothing.
// Threads: any thread may match.
class Pattern {
public:
  explicit Pattern(const char* expression);
  ~Pattern();
  Pattern(const Pattern&) = delete;
  Pattern& operator=(const Pattern&) = delete;

  bool isIn(const std::string& text) const { return find(text).has_value(); }

  // What matches, and behind it what each pair of brackets holds: "" for one that takes no part.
  std::optional<std::vector<std::string>> find(const std::string& text) const;

private:
  regex_t compiled = {};
  bool isGood = false;
};
