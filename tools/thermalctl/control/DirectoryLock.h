#pragma once

#include <chrono>
#include <string>

#include "control/Waiting.h"
#include "file/FileHandle.h"

// Held by one thermalctl at a time while it asks something of the daemon in this directory, so that
// none takes the daemon's answer to another for its own.
class DirectoryLock {
public:
  // Waits for it; std::runtime_error if another still holds it after `timeout`. A directory that
  // cannot be opened is not locked: what is done in it fails with a better message.
  DirectoryLock(const std::string& path, std::chrono::milliseconds timeout, Waiting& waiting);

private:
  FileHandle directory;
};
