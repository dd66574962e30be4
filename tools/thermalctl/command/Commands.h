#pragma once

#include "command/CommandLine.h"

// What the tool can do, a source file each. The help shows them in the order in which main.cpp
// names them.
Command checkCommand();
Command scenarioCommand();
Command reloadCommand();
Command statusCommand();
Command simulateCommand();
Command plotCommand();
