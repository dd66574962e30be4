#include "config/ItemFields.h"

#include <string>
#include <vector>

#include <gtest/gtest.h>

namespace {

struct Anything {
  using Sensor = int;
  using Number = int;
  using Flag = bool;
  using Device = int;
  using DeviceRow = int;
  using LevelRow = int;
};

std::vector<std::string> mandatoryKeysOf(ItemKind kind) {
  std::vector<std::string> keys;
  ItemFields<Anything> fields;
  visitKeys(fields, kind, [&keys](const char* key, const auto&, Need need) {
    if (need == Need::kMandatory) keys.emplace_back(key);
  });
  return keys;
}

TEST(ItemFieldsTest, AMonitorAndAnSSNeedTheirKeysAndAnItemOfNoKindHasNone) {
  const std::vector<std::string> ofMonitors = {"sensor", "thresholds", "thresholds_clr", "actions",
                                               "action_info"};
  const std::vector<std::string> ofSS = {"sensor", "device", "set_point", "set_point_clr"};
  EXPECT_EQ(mandatoryKeysOf(ItemKind::kMonitor), ofMonitors);
  EXPECT_EQ(mandatoryKeysOf(ItemKind::kSS), ofSS);
  EXPECT_TRUE(mandatoryKeysOf(ItemKind::kNone).empty());
}

} // namespace
