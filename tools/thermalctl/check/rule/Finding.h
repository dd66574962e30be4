#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "text/Word.h"

// An error leaves something dead or wrong, or ends the daemon; the rest is a warning. Scripts go by
// that.
enum class Severity { kWarning, kError };

// Whether a finding tells of the daemon's end: not at all, of one that is due once the mistakes
// above it are put right, or of the end itself.
enum class End { kNone, kLater, kNow };

// What a rule found at one place of one file.
//
// Shape:  one line of text each; `message` and `hint` have no full stop at their ends.
// Units:  `at` as in Position; `length` in bytes of the line, at least 1.
// Errors: what ends the daemon is an error whatever its rule's severity is, and nothing hides it.
// Source: Context::tell, which gives it the rule's name and severity.
struct Finding {
  std::string rule;
  Severity severity = Severity::kWarning;
  // As the user named it.
  std::string file;
  // Where the marked text begins, and how many bytes of its line it takes.
  Position at;
  size_t length = 1;
  // What the daemon will do, in the user's terms; no full stop, no line feed.
  std::string message;
  // What to write instead; empty when there is nothing better to say than the message.
  std::string hint;
  End end = End::kNone;
};

// "error" or "warning".
const char* nameOf(Severity severity);

// How many of them are errors.
size_t errorsIn(const std::vector<Finding>& findings);
