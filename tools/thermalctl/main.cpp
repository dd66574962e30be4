#include <exception>
#include <iostream>

#include "base/Log.h"
#include "command/Commands.h"

// What the daemon's classes log by on a device. To look for its library takes a part of each start.
extern "C" int __android_log_print(int, const char*, const char*, ...) {
  return 0;
}

int main(int argc, char* argv[]) {
  // They need not even put the text together.
  logEnabled = false;
  try {
    const int ending = runCommand(allCommands(), argc, argv);
    if (std::cout.flush()) return ending;
    return complain(kCouldNotRun, "cannot write the results");
  } catch (const std::exception& error) {
    return complain(kCouldNotRun, error.what());
  }
}
