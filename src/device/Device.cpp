#include "device/Device.h"

#include <algorithm>
#include <array>
#include <cstdio>

#include "base/Int32.h"
#include "base/Log.h"

namespace {

// Hexadecimal digits without a prefix, as the drivers of such tables take them.
std::string hexText(const std::string& entry) {
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
  if (!node.is_open()) LOG_LINE(message::kDeviceNotOpened, name.c_str());
}

int32_t Device::deviceControl(const std::string& requester, int32_t level) {
  const std::lock_guard<std::mutex> guard(lock);
  requests[requester] = level;
  return 0;
}

int32_t Device::deviceControl(const Requester& requester, int32_t level) {
  const std::lock_guard<std::mutex> guard(lock);
  requests[requester.name] = level;
  std::vector<Post>& all = posts[requester.name];
  removeOf(requester, all);
  all.push_back({&requester, level});
  return 0;
}

void Device::removeOf(const Requester& requester, std::vector<Post>& all) {
  const auto own = [&requester](const Post& post) { return post.requester == &requester; };
  all.erase(std::remove_if(all.begin(), all.end(), own), all.end());
}

void Device::withdraw(const Requester& requester) {
  const std::lock_guard<std::mutex> guard(lock);
  if (requester.inForce) return clear(requester.name);
  std::vector<Post>& all = posts[requester.name];
  removeOf(requester, all);
  const auto inForce = [](const Post& post) { return post.requester->inForce.load(); };
  if (std::none_of(all.begin(), all.end(), inForce)) return clear(requester.name);
  requests[requester.name] = all.back().level;
}

bool Device::holds(const Requester& requester) {
  const std::lock_guard<std::mutex> guard(lock);
  const std::vector<Post>& all = posts[requester.name];
  return !all.empty() && all.back().requester == &requester;
}

void Device::clear(const std::string& requester) {
  requests[requester] = 0;
  posts[requester].clear();
}

void Device::statusApply() {
  const std::lock_guard<std::mutex> guard(lock);
  const std::optional<int32_t> level = mergedLevel();
  if (!level || *level == currentLevel) return;
  writeNode(output(*level));
  currentLevel = *level;
}

std::string Device::output(int32_t level) const {
  if (type == "integer") return std::to_string(parseInt32(entry(level)));
  if (type == "string") return entry(level);
  if (type == "hex") return hexText(entry(level));
  return {};
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
    LOG_LINE(message::kEmptyTable);
    return std::nullopt;
  }
  return std::min(level, static_cast<int32_t>(levelTable.size() - 1));
}
