#pragma once

#include <chrono>
#include <string>

#include "control/Waiting.h"
#include "file/FileHandle.h"

// Held by one thermalctl at a time while it asks something of the daemon in this directory, so that
// none takes the daemon's answer to another for its own.
//
// Errors:  std::runtime_error when another still holds it after the time given.
// Threads: the lock is the process's and gone with it, however it ends; the daemon and whoever else
//          writes into the directory do not know of it.
class DirectoryLock {
public:
  // Waits for it; std::runtime_error if another still holds it after `timeout`. A directory that
  // cannot be opened is not locked: what is done in it fails with a better message.
  DirectoryLock(const std::string& path, std::chrono::milliseconds timeout, Waiting& waiting);

private:
  FileHandle directory;
};
