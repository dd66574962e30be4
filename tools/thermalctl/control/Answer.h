#pragma once

#include <string>
#include <system_error>

enum class Outcome {
  kInForce,
  kRefused,     // a scenario: the daemon keeps to `word`; a configuration: it did not open the file
  kOvertaken,   // another writer has asked for `word` meanwhile
  kSwallowed,   // another writer has asked for something, and the daemon's answer lies over it
  kPending,     // the request for `word` that was there before is still not done
  kNoAnswer,    // nobody has looked at the request
  kNotFinished, // the daemon has opened the file and not answered since
  kRestarted,   // what looks like the answer is what a starting daemon writes
  kNotWritten,  // `word` is the path that is to blame, `error` says why
};

// How a request to the daemon ended.
//
// Shape:  `word` has a meaning for the outcomes whose comments name it, and for no other.
// Errors: `error` is set for kNotWritten, and for kNoAnswer if the last writing failed.
struct Answer {
  Outcome outcome;
  std::string word = {};
  std::error_code error = {};
};
