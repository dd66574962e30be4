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
  using Keys = std::vector<std::string>;
  EXPECT_EQ(mandatoryKeysOf(ItemKind::kMonitor),
            (Keys{"sensor", "thresholds", "thresholds_clr", "actions", "action_info"}));
  EXPECT_EQ(mandatoryKeysOf(ItemKind::kSS),
            (Keys{"sensor", "device", "set_point", "set_point_clr"}));
  EXPECT_EQ(mandatoryKeysOf(ItemKind::kNone), Keys{});
}

} // namespace
