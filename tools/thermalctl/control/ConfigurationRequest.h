#pragma once

#include <chrono>
#include <string>
#include <system_error>

#include "control/ControlFile.h"
#include "control/Waiting.h"

enum class ConfigurationOutcome {
  kInForce,
  kRejected,    // the daemon has answered without opening the file
  kOvertaken,   // another writer has asked for `word` meanwhile
  kPending,     // the request for `word` that was there before is still not done
  kNotTaken,    // nobody has looked at the request
  kNotFinished, // the daemon has opened the file and not answered since
  kFailed,      // `word` is the path that is to blame, `error` says why
};

// How a request for a configuration ended.
//
// Shape:  `word` has a meaning for the outcomes whose comments name it, and for no other.
// Errors: `error` is set for kFailed alone.
struct ConfigurationAnswer {
  ConfigurationOutcome outcome;
  std::string word;
  std::error_code error;
};

// Puts a configuration of that name beside the others, asks the daemon for it and waits until it is
// in force. `timeout` holds for each of the three things waited for: the end of a request that is
// under way, the take-over, the answer.
//
// The request file alone does not tell a rejection from a swap, the answer to both is the same. But
// the daemon takes over what it could open, so the file is watched for that.
//
// Errors:  told by the outcome. The file stays beside the others even if the daemon rejects it; a
//          request that nobody looked at is taken back.
// Threads: blocks the caller, by `waiting`. Two askers at a time would take each other's answers
//          for their own: hold a DirectoryLock.
ConfigurationAnswer requestConfiguration(const ControlDirectory& directory, const std::string& name,
                                         const std::string& content,
                                         std::chrono::milliseconds timeout, Waiting& waiting);
