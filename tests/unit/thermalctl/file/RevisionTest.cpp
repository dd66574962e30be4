#include "file/Revision.h"

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <sstream>
#include <string>
#include <utility>

#include <gtest/gtest.h>

#include "support/SysfsDir.h"
#include "text/Phrases.h"

namespace {

namespace fs = std::filesystem;

// A repository with a board in a folder, and what is in the folder now.
class RevisionTest : public testing::Test {
protected:
  RevisionTest() {
    git("init --quiet");
    write("board/day.conf", "old");
    write("notes", "one");
    commit();
  }

  void git(const std::string& words) const {
    const std::string command = "git -C '" + folder.node("") +
                                "' -c user.name=a -c user.email=a@b -c commit.gpgsign=false " +
                                words + " >/dev/null 2>&1";
    // No other thread runs here. NOLINTNEXTLINE(concurrency-mt-unsafe)
    EXPECT_EQ(std::system(command.c_str()), 0) << command;
  }
  void commit() const {
    git("add --all");
    git("commit --quiet --message edit");
  }

  fs::path path(const std::string& name) const { return folder.node(name); }
  void write(const std::string& name, const std::string& text) const {
    fs::create_directories(path(name).parent_path());
    std::ofstream(path(name)) << text;
  }

  static std::string textOf(const fs::path& file) {
    std::ostringstream text;
    text << std::ifstream(file).rdbuf();
    return text.str();
  }

  SysfsDir folder;
};

TEST_F(RevisionTest, HasTheFilesAsTheyWereThen) {
  write("board/day.conf", "new");
  write("board/night.conf", "new");
  const Revision revision("HEAD", path("board"));
  ASSERT_TRUE(revision.isThere());
  EXPECT_EQ(textOf(revision.folder() / "day.conf"), "old");
  EXPECT_FALSE(fs::exists(revision.folder() / "night.conf"));
  EXPECT_EQ(textOf(path("board/day.conf")), "new");
}

TEST_F(RevisionTest, HasTheFolderAloneAndNothingBesideIt) {
  const Revision revision("HEAD", path("board"));
  EXPECT_FALSE(fs::exists(revision.folder() / "notes"));
  EXPECT_FALSE(fs::exists(revision.folder() / "board"));
  const auto files = fs::directory_iterator(revision.folder());
  EXPECT_EQ(std::distance(begin(files), end(files)), 1);
}

TEST_F(RevisionTest, OfTheTopHasAllFolders) {
  const Revision revision("HEAD", path(""));
  EXPECT_EQ(textOf(revision.folder() / "board/day.conf"), "old");
  EXPECT_EQ(textOf(revision.folder() / "notes"), "one");
}

TEST_F(RevisionTest, IsNamedAsGitNamesIt) {
  git("tag first");
  write("board/day.conf", "middle");
  commit();
  for (const char* name : {"first", "HEAD~1", "HEAD^"})
    EXPECT_EQ(textOf(Revision(name, path("board")).folder() / "day.conf"), "old") << name;
  EXPECT_EQ(textOf(Revision("HEAD", path("board")).folder() / "day.conf"), "middle");
}

TEST_F(RevisionTest, HasAFileThatIsGoneSince) {
  fs::remove(path("board/day.conf"));
  write("board/other", "");
  commit();
  EXPECT_EQ(textOf(Revision("HEAD~1", path("board")).folder() / "day.conf"), "old");
  EXPECT_FALSE(fs::exists(Revision("HEAD", path("board")).folder() / "day.conf"));
}

TEST_F(RevisionTest, NamesItsFilesAsGitDoes) {
  const Revision revision("HEAD", path("board"));
  const std::string file = (revision.folder() / "day.conf").string();
  const std::string board = path("board").string();
  EXPECT_EQ(revision.named(file + ":3:1: and " + file),
            "HEAD:" + board + "/day.conf:3:1: and HEAD:" + board + "/day.conf");
  EXPECT_EQ(revision.named(quoted(revision.folder().string())), "'HEAD:" + board + "'");
  EXPECT_EQ(revision.named("nothing of it"), "nothing of it");
}

TEST_F(RevisionTest, OfTheFolderInHandNamesItsFilesAlone) {
  for (const char* here : {"", ".", "./"}) {
    const Revision revision("v1", here);
    EXPECT_EQ(revision.named((revision.folder() / "day.conf").string()), "v1:day.conf") << here;
  }
}

TEST_F(RevisionTest, IsNotThereUnderAnotherName) {
  for (const char* name : {"", "mian", "HEAD~1", "--all", "HEAD:notes", "$(true)"})
    EXPECT_FALSE(Revision(name, path("board")).isThere()) << name;
}

TEST_F(RevisionTest, IsNotThereOfAFolderThatItDoesNotHave) {
  write("later/day.conf", "new");
  EXPECT_FALSE(Revision("HEAD", path("later")).isThere());
  EXPECT_FALSE(Revision("HEAD", path("nowhere")).isThere());
}

TEST_F(RevisionTest, SaysNothingOfItsOwn) {
  testing::internal::CaptureStderr();
  for (const char* name : {"board", "nowhere"}) {
    EXPECT_FALSE(Revision("mian", path(name)).isThere());
    const Revision revision("HEAD", path(name));
  }
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
}

TEST_F(RevisionTest, IsNotThereOutsideOfARepository) {
  SysfsDir other;
  EXPECT_FALSE(Revision("HEAD", other.node("")).isThere());
}

TEST_F(RevisionTest, TakesAFolderWithAnyName) {
  for (const char* name : {"a b", "it's", "$HOME", "-x", "a:b"}) {
    write(name + std::string("/day.conf"), name);
    commit();
    const Revision revision("HEAD", path(name));
    EXPECT_TRUE(revision.isThere()) << name;
    EXPECT_EQ(textOf(revision.folder() / "day.conf"), name);
  }
}

TEST_F(RevisionTest, TakesItsCopyWithIt) {
  fs::path copy;
  {
    Revision revision("HEAD", path("board"));
    copy = revision.folder();
    const Revision moved(std::move(revision));
    EXPECT_EQ(moved.folder(), copy);
    EXPECT_TRUE(moved.isThere());
    EXPECT_TRUE(revision.folder().empty()); // NOLINT(bugprone-use-after-move): it is what is asked
    EXPECT_TRUE(fs::exists(copy / "day.conf"));
  }
  EXPECT_FALSE(fs::exists(copy));
  EXPECT_TRUE(fs::exists(path("board/day.conf")));
}

} // namespace
