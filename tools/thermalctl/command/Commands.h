#pragma once

#include "command/CommandLine.h"

// What the tool can do, a source file each.
Command checkCommand();
Command scenarioCommand();
Command reloadCommand();
Command statusCommand();
Command simulateCommand();
Command plotCommand();
Command integrateCommand();
Command fitCommand();
Command diffCommand();
Command marginCommand();

// In the order in which the help shows them.
inline std::vector<Command> allCommands() {
  return {checkCommand(),     scenarioCommand(), reloadCommand(), statusCommand(),
          simulateCommand(),  marginCommand(),   fitCommand(),    plotCommand(),
          integrateCommand(), diffCommand()};
}
