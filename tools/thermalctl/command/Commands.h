#pragma once

#include "command/CommandLine.h"

// What the tool can do, a source file each.
Command checkCommand();
Command scenarioCommand();
Command reloadCommand();
Command statusCommand();
Command simulateCommand();
Command plotCommand();
