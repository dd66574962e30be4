#pragma once

#include <string>
#include <vector>

#include "device/Device.h"

using DeviceMaker = Device* (*)(const std::string& name, const std::string& nodePath,
                                const std::string& type,
                                const std::vector<std::string>& levelTable);

// The word behind "type" in a device's section, and what makes a device of that kind.
struct DeviceKind {
  const char* word;
  DeviceMaker make;
};

// All kinds, in the order in which they are told.
const std::vector<DeviceKind>& deviceKinds();

// What makes a device of the kind, or null for a word that names none.
DeviceMaker deviceMaker(const std::string& kind);
