#include "command/Command.h"

#include <iostream>

#include "text/Source.h"

ExitStatus complain(ExitStatus status, const std::string& message) {
  std::cerr << "thermalctl: " << visible(message) << '\n';
  return status;
}
