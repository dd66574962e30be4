#pragma once

#include <chrono>
#include <string>

#include "control/Answer.h"
#include "control/ControlFile.h"
#include "control/Waiting.h"

// Asks the daemon for a scenario and waits until it is in force or refused.
//
// A refusal shows in the file: the daemon writes the scenario in force over the word. One that was
// taken does not. But how the daemon goes round its files tells: it reads the word, then comes by
// without reading it, because of the switch, and then reads it again. The file is written once, and
// nothing that others write is written over.
//
// Errors:  told by the outcome. Without an answer the name is left in the file, for a daemon that
//          is only slow.
// Threads: blocks the caller, by `waiting`, for `timeout` at most. Two askers at a time would take
//          each other for another writer: hold a DirectoryLock.
Answer askForScenario(const ControlDirectory& directory, const std::string& name,
                      std::chrono::milliseconds timeout, Waiting& waiting);
