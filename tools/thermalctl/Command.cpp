#include "Command.h"

#include <iostream>

#include "output/Source.h"

ExitStatus complain(ExitStatus status, const std::string& message) {
  std::cerr << "thermalctl: " << visible(message) << '\n';
  return status;
}
