#include "study/Workloads.h"

#include <filesystem>
#include <sstream>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "support/SysfsDir.h"

namespace {

namespace fs = std::filesystem;

// A board with two workloads of its own, and a folder in which a user stands.
class WorkloadsTest : public testing::Test {
protected:
  WorkloadsTest() {
    fs::create_directories(board.node("workloads/deep.csv"));
    board.write("workloads/game.csv", "");
    board.write("workloads/idle.toml", "");
    board.write("workloads/notes.txt", "");
  }

  // What `word` means, as far as it is one of the two folders.
  std::string found(const std::string& word) {
    problems = Problems();
    return findWorkload(board.node(""), user.node(""), word, {"--workload", {}, "'" + word + "' "},
                        problems);
  }
  std::string told() const {
    std::ostringstream out;
    problems.print(out);
    return out.str();
  }

  SysfsDir board;
  SysfsDir user;
  Problems problems;
};

TEST_F(WorkloadsTest, ANameIsOneOfTheBoardsOwn) {
  EXPECT_TRUE(fs::equivalent(found("game"), board.node("workloads/game.csv")));
  EXPECT_TRUE(fs::equivalent(found("idle"), board.node("workloads/idle.toml")));
  EXPECT_TRUE(problems.none());
}

TEST_F(WorkloadsTest, TheBoardsOwnGoesBeforeAFileOfThatName) {
  user.write("game", "");
  EXPECT_TRUE(fs::equivalent(found("game"), board.node("workloads/game.csv")));
}

TEST_F(WorkloadsTest, OfTwoOfOneNameTheCsvIsMeant) {
  board.write("workloads/game.toml", "");
  EXPECT_TRUE(fs::equivalent(found("game"), board.node("workloads/game.csv")));
}

TEST_F(WorkloadsTest, AnyOtherFileIsTheUsers) {
  const std::string own = user.write("own.csv", "");
  EXPECT_EQ(found("own.csv"), own);
  EXPECT_EQ(found("/elsewhere/own.csv"), "/elsewhere/own.csv");
  EXPECT_TRUE(problems.none());
}

TEST_F(WorkloadsTest, AWordThatIsNeitherIsToldWithTheNearest) {
  found("gaem");
  EXPECT_NE(told().find("'gaem' is no file, and no workload of "), std::string::npos) << told();
  EXPECT_NE(told().find("did you mean 'game'?"), std::string::npos) << told();
}

TEST_F(WorkloadsTest, AWordThatIsLikeNoneIsToldWithAll) {
  found("notes");
  EXPECT_NE(told().find("there are 'game' and 'idle'"), std::string::npos) << told();
}

TEST_F(WorkloadsTest, AFolderIsNoWorkload) {
  EXPECT_EQ(found("deep"), user.node("deep"));
  EXPECT_NE(told().find("'deep' is no file"), std::string::npos) << told();
}

TEST_F(WorkloadsTest, APathIsLeftToItsReader) {
  EXPECT_EQ(found("no/such.csv"), user.node("no/such.csv"));
  EXPECT_TRUE(problems.none());
}

TEST_F(WorkloadsTest, WithoutABoardOrItsWorkloadsAWordIsAFile) {
  EXPECT_EQ(findWorkload("", user.node(""), "gaem", {"--workload", {}, ""}, problems),
            user.node("gaem"));
  EXPECT_EQ(findWorkload(user.node(""), user.node(""), "gaem", {"--workload", {}, ""}, problems),
            user.node("gaem"));
  EXPECT_TRUE(problems.none());
}

TEST_F(WorkloadsTest, AWorkloadIsCalledByItsNameWithoutTheEnding) {
  const auto named = namedWorkloads({"a/game.csv", "b/idle.toml"});
  ASSERT_EQ(named.size(), 2U);
  EXPECT_EQ(named[0].name, "game");
  EXPECT_EQ(named[0].path, "a/game.csv");
  EXPECT_EQ(named[1].name, "idle");
}

TEST_F(WorkloadsTest, OneFileByTwoPathsIsOneWorkload) {
  const std::string path = user.write("game.csv", "");
  const auto named = namedWorkloads({path, user.node("./game.csv")});
  ASSERT_EQ(named.size(), 1U);
  EXPECT_EQ(named[0].path, path);
}

TEST_F(WorkloadsTest, ThereMayBeNone) {
  EXPECT_TRUE(namedWorkloads({}).empty());
}

} // namespace
