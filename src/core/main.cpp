#include <signal.h>

#include <string>

#include "base/Log.h"
#include "base/Names.h"
#include "core/ThermalMain.h"

int main(int argc, char* argv[]) {
#ifndef __ANDROID__
  // On a host liblog would drop the verbose lines; on a device its properties decide.
  __android_log_set_minimum_priority(ANDROID_LOG_VERBOSE);
#endif
  if (argc == 2 && std::string(argv[1]) == "nolog") logEnabled = false;
  // A report may go into a pipe, and one whose reader has gone must not end the daemon: the write
  // fails like any other.
  ::signal(SIGPIPE, SIG_IGN);
  const ThermalMain daemon(kFactoryConfiguration, kEnvironmentFile);
  return 0;
}
