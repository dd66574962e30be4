#include "file/Litter.h"

#include <sys/stat.h>

#include <csignal>
#include <filesystem>
#include <optional>

#include <gtest/gtest.h>

#include "support/SysfsDir.h"

namespace {

// The tests of signals end a process of their own.
class LitterTest : public testing::Test {
protected:
  std::string folder(const std::string& name) const {
    std::string path = dir.node(name);
    std::filesystem::create_directory(path);
    return path;
  }

  SysfsDir dir;
};

using LitterDeathTest = LitterTest;

TEST_F(LitterTest, IsGoneWithTheScopeUnlessItIsKept) {
  {
    const Litter file(dir.write("file", "text"));
    const Litter made(folder("folder"));
    Litter kept(dir.write("kept", "text"));
    kept.keep();
  }
  EXPECT_FALSE(dir.exists("file"));
  EXPECT_FALSE(dir.exists("folder"));
  EXPECT_TRUE(dir.exists("kept"));
}

TEST_F(LitterTest, ThatWasKeptLeavesItsPlaceToOthers) {
  std::optional<Litter> first(std::in_place, dir.write("first", ""));
  first->keep();
  const Litter second(dir.write("second", ""));
  first.reset();
  EXPECT_TRUE(dir.exists("second"));
}

TEST_F(LitterTest, AFolderWithSomethingInItStays) {
  {
    const Litter made(folder("folder"));
    dir.write("folder/mine", "text");
  }
  EXPECT_TRUE(dir.exists("folder/mine"));
}

TEST_F(LitterDeathTest, ASignalLeavesNone) {
  for (const int number : {SIGINT, SIGTERM, SIGHUP, SIGQUIT, SIGPIPE}) {
    const auto die = [this, number] {
      // A shell that runs the tests in the background has some of them ignored.
      std::signal(number, SIG_DFL);
      const Litter made(folder("folder"));
      const Litter file(dir.write("folder/file", "text"));
      Litter kept(dir.write("kept", "text"));
      kept.keep();
      std::raise(number);
    };
    EXPECT_EXIT(die(), testing::KilledBySignal(number), "") << number;
    EXPECT_FALSE(dir.exists("folder")) << number;
    EXPECT_TRUE(dir.exists("kept")) << number;
  }
}

TEST_F(LitterDeathTest, ASignalThatIsIgnoredStaysIgnored) {
  const auto live = [this] {
    std::signal(SIGHUP, SIG_IGN);
    const Litter file(dir.write("file", "text"));
    std::raise(SIGHUP);
    std::_Exit(dir.exists("file") ? 7 : 8);
  };
  EXPECT_EXIT(live(), testing::ExitedWithCode(7), "");
}

TEST_F(LitterDeathTest, ASignalWaitsWhereNoneMayCome) {
  const auto die = [this] {
    std::signal(SIGINT, SIG_DFL);
    const Litter file(dir.write("file", "text"));
    const NoSignals none;
    std::raise(SIGINT);
    dir.write("behind", "text");
  };
  EXPECT_EXIT(die(), testing::KilledBySignal(SIGINT), "");
  EXPECT_FALSE(dir.exists("file"));
  EXPECT_TRUE(dir.exists("behind"));
}

} // namespace
