// The environment file: any text, read as the board of a daemon that is starting.

#include "device/Device.h"
#include "support/FuzzedBoard.h"
#include "support/Parts.h"
#include "support/Require.h"
#include "support/Target.h"

namespace {

bool isValueType(const std::string& type) {
  return type == "integer" || type == "hex" || type == "bin" || type == "string";
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  static const Nodes nodes;
  FuzzedBoard board;
  board.parseEnvironment(std::string(reinterpret_cast<const char*>(data), size), nodes);
  board.check();
  for (const auto& [name, device] : board.devices)
    require(device && device->name == name && isValueType(device->type),
            "a device has its section's name and a known value type");
  return 0;
}
