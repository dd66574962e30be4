#pragma once

#include <string>

#include "log/BoardFolder.h"
#include "log/LogReader.h"
#include "trace/Trace.h"

// Plays a device's log into `sink` as a run called `name`; nothing is played where the log holds no
// message of the daemon. `board` may be null. Returns what became of the log's lines.
//
// It is gone through for its first scenario, then for who takes part, and then for the sink.
LogReader::Counts playLog(const std::string& text, const std::string& name,
                          const BoardFolder* board, TraceSink& sink);
