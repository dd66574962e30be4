#pragma once

#include <chrono>
#include <string>

#include "control/Answer.h"
#include "control/ControlFile.h"
#include "control/Waiting.h"

// Puts a configuration of that name beside the others, asks the daemon for it and waits until it is
// in force. `timeout` holds for each of the three things waited for: the end of a request that is
// under way, the take-over, the answer.
//
// The request file alone does not tell a rejection from a swap, the answer to both is the same. But
// the daemon opens what it takes over, and once more to read it, so the file is watched for that.
// At the end of a swap it writes its answer over what another writer may have put there meanwhile:
// that is put back.
//
// Errors:  told by the outcome. The file stays beside the others even if the daemon rejects it; a
//          request that nobody looked at is taken back.
// Threads: blocks the caller, by `waiting`. Two askers at a time would take each other for
//          another writer: hold a DirectoryLock.
Answer requestConfiguration(const ControlDirectory& directory, const std::string& name,
                            const std::string& content, std::chrono::milliseconds timeout,
                            Waiting& waiting);
