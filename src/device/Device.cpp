#include "device/Device.h"

#include <algorithm>
#include <array>
#include <cstdio>

#include "core/Int32.h"
#include "core/Log.h"

namespace {

// What the node receives for a table entry of the given type.
std::string nodeText(const std::string& entry, const std::string& type) {
  if (type == "integer") return std::to_string(parseInt32(entry));
  if (type == "string") return entry;
  if (type != "hex") return {};
  // Two characters go unseen; they are taken to be the 0x.
  const std::string digits = entry.size() < 2 ? std::string() : entry.substr(2);
  std::array<char, 2 * sizeof(unsigned long) + 1> text;
  std::snprintf(text.data(), text.size(), "%lx", std::strtoul(digits.c_str(), nullptr, 16));
  return text.data();
}

} // namespace

Device::Device(const std::string& name_, const std::string& nodePath_, const std::string& type_,
               const std::vector<std::string>& levelTable_)
    : name(name_), nodePath(nodePath_), node(nodePath), levelTable(levelTable_), type(type_) {
  node << std::unitbuf;
  if (!node.is_open())
    LOG_LINE("[TalmorThermal] [TalmorThermal] Device [%s] open failed\n", name.c_str());
}

int32_t Device::deviceControl(const std::string& requester, int32_t level) {
  const std::lock_guard<std::mutex> guard(lock);
  file(requester, level, nullptr);
  return 0;
}

int32_t Device::deviceControl(const Requester& requester, int32_t level) {
  const std::lock_guard<std::mutex> guard(lock);
  file(requester.name, level, &requester);
  return 0;
}

void Device::withdraw(const Requester& requester) {
  const std::lock_guard<std::mutex> guard(lock);
  if (!requester.inForce && isHeldInForce(requester.name)) return;
  file(requester.name, 0, nullptr);
}

bool Device::holds(const Requester& requester) {
  const std::lock_guard<std::mutex> guard(lock);
  const auto holder = holders.find(requester.name);
  return holder != holders.end() && holder->second == &requester;
}

void Device::statusApply() {
  const std::lock_guard<std::mutex> guard(lock);
  const std::optional<int32_t> level = mergedLevel();
  if (!level || *level == currentLevel) return;
  writeNode(nodeText(entry(*level), type));
  currentLevel = *level;
}

void Device::file(const std::string& requester, int32_t level, const Requester* holder) {
  requests[requester] = level;
  holders[requester] = holder;
}

bool Device::isHeldInForce(const std::string& requester) const {
  const auto holder = holders.find(requester);
  if (holder == holders.end() || !holder->second || !holder->second->inForce) return false;
  return requests.at(requester) != 0;
}

void Device::writeNode(const std::string& bytes) {
  // A stream that failed once is not even touched: it still holds what the driver refused, and
  // libstdc++ would hand that to the driver once more.
  if (node) node.seekp(0) << bytes;
}

std::optional<int32_t> Device::mergedLevel() const {
  int32_t level = 0;
  if (useMax) {
    for (const auto& [requester, wanted] : requests)
      level = std::max(level, wanted);
  }
  if (levelTable.empty()) {
    LOG_LINE("[TalmorThermal] [TalmorThermal] %s: Level Table is Empty\n", "statusApply");
    return std::nullopt;
  }
  return std::min(level, static_cast<int32_t>(levelTable.size() - 1));
}
