#include <exception>
#include <iostream>

#include "base/Log.h"
#include "command/Commands.h"

int main(int argc, char* argv[]) {
  // The daemon's classes would log here as they do on a device.
  logEnabled = false;
  try {
    const int ending = runCommand(allCommands(), argc, argv);
    if (std::cout.flush()) return ending;
    return complain(kCouldNotRun, "cannot write the results");
  } catch (const std::exception& error) {
    return complain(kCouldNotRun, error.what());
  }
}
