#pragma once

#include <memory>

#include "board/Environment.h"
#include "device/Device.h"

// The device that the daemon makes of a section, but without its node. The section's kind must be
// one of a device.
std::unique_ptr<Device> deviceOf(const Section& section);
