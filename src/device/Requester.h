#pragma once

#include <atomic>
#include <string>

// Who asks devices for levels. Two of them may bear one name, in two scenarios or in two
// configurations, and then share the one request that a device keeps for that name.
//
// Threads: any thread may read `inForce`. A device may look at a requester from its post until it
//          withdraws, so it withdraws before it ends.
struct Requester {
  std::string name;
  // Whether its scenario and its configuration are in force. Written as it registers with its
  // sensor, and from then on by the sensor's thread in a change of scenario.
  std::atomic<bool> inForce{false};
};
