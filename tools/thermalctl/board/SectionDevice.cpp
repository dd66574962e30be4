#include "board/SectionDevice.h"

#include <string>
#include <vector>

#include "device/DeviceKinds.h"

std::unique_ptr<Device> deviceOf(const Section& section) {
  std::vector<std::string> levels;
  for (const Level& level : section.levels)
    levels.push_back(level.text);
  const DeviceMaker make = deviceMaker(section.kindWord.text);
  return std::unique_ptr<Device>(make(section.name, "", section.valueType, levels));
}
