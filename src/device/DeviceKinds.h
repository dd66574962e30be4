#pragma once

#include <map>
#include <string>
#include <vector>

#include "device/Device.h"

using DeviceMaker = Device* (*)(const std::string& name, const std::string& nodePath,
                                const std::string& type,
                                const std::vector<std::string>& levelTable);

// What makes a device of each kind, by the word behind "type" in its section.
const std::map<std::string, DeviceMaker>& deviceKinds();
