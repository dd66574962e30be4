#include <exception>
#include <iostream>

#include "command/Commands.h"

int main(int argc, char* argv[]) {
  try {
    const int ending = runCommand(allCommands(), argc, argv);
    if (std::cout.flush()) return ending;
    return complain(kCouldNotRun, "cannot write the results");
  } catch (const std::exception& error) {
    return complain(kCouldNotRun, error.what());
  }
}
