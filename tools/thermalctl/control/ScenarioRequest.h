#pragma once

#include <chrono>
#include <string>

#include "control/Answer.h"
#include "control/ControlFile.h"
#include "control/Waiting.h"

// Asks the daemon for a scenario and waits until it is in force or refused.
//
// The file tells a refusal: the daemon writes the scenario in force back. It does not tell a word
// that was taken from one that nobody reads. So a second word follows, one that the daemon always
// answers with the scenario in force, and not before a switch that is due.
//
// Errors:  told by the outcome. Without an answer the name is left in the file, for a daemon that
//          is only slow.
// Threads: blocks the caller, by `waiting`, for `timeout` at most. Two askers at a time would take
//          each other's answers for their own: hold a DirectoryLock.
Answer askForScenario(ControlFile& file, const std::string& name, std::chrono::milliseconds timeout,
                      Waiting& waiting);
