#include "command/ExitStatus.h"

#include <iostream>

#include "text/Characters.h"

ExitStatus complain(ExitStatus status, const std::string& message) {
  std::cerr << "thermalctl: " << visible(message) << '\n';
  return status;
}
