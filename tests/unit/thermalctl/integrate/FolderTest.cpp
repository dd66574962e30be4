#include "integrate/Folder.h"

#include <filesystem>

#include <gtest/gtest.h>

#include "base/TextReader.h"
#include "support/SysfsDir.h"

namespace {

namespace fs = std::filesystem;

class FolderTest : public ::testing::Test {
protected:
  FolderTest() { files.write("board.env", kBoard); }

  Integration integration(const std::string& text) {
    environment = readEnvironment("board.env", text);
    return {files.node("board.env"), text, nodesOf(environment).nodes};
  }

  std::string path(const std::string& name) { return files.node("out/" + name); }
  WrittenFolder write(const std::string& text = kBoard) {
    return writeFolder(files.node("out"), integration(text));
  }
  ComparedFolder compare(const std::string& text = kBoard) {
    return compareFolder(files.node("out"), integration(text));
  }

  static constexpr char kBoard[] =
      "[big]\ntype cpufreq\nnode_path /sys/devices/big\nlevel_table 2600 1200\n";
  static constexpr char kWithoutBytes[] =
      "[big]\ntype gpufreq\nnode_path /sys/devices/big\nlevel_table 2600 1200\n";
  SysfsDir files;
  Environment environment;
};

} // namespace

TEST_F(FolderTest, WhatWasWrittenIsTheSame) {
  const WrittenFolder written = write();
  EXPECT_FALSE(written.trouble);
  EXPECT_EQ(written.written.size(), 7u);
  EXPECT_EQ(written.configurationMissing, path("talmor-thermal.conf"));
  EXPECT_TRUE(compare().isSame());
  EXPECT_EQ(compare().sources.size(), 7u);
}

TEST_F(FolderTest, AFileThatIsGoneIsMissing) {
  write();
  fs::remove(path("sepolicy/genfs_contexts"));
  EXPECT_EQ(compare().missing, std::vector<std::string>{path("sepolicy/genfs_contexts")});
}

TEST_F(FolderTest, BytesOfADeviceThatIsGoneAreExtraAndGoAtTheNextTime) {
  write();
  files.write("out/notes.level0", "");
  const std::vector<std::string> bytes = {path("talmor-thermal-big.level0")};
  EXPECT_EQ(compare(kWithoutBytes).extra, bytes);
  EXPECT_EQ(write(kWithoutBytes).removed, bytes);
  EXPECT_TRUE(compare(kWithoutBytes).isSame());
  EXPECT_TRUE(fs::exists(path("notes.level0")));
}

TEST_F(FolderTest, TakesTheConfigurationBesideTheEnvironmentAlongOnce) {
  files.write("talmor-thermal.conf", "SCEN Default\n");
  EXPECT_FALSE(write().configurationMissing);
  EXPECT_EQ(readFile(path("talmor-thermal.conf")), "SCEN Default\n");
  files.write("out/talmor-thermal.conf", "SCEN mine\n");
  write();
  EXPECT_EQ(readFile(path("talmor-thermal.conf")), "SCEN mine\n");
  EXPECT_TRUE(compare().isSame());
}

TEST_F(FolderTest, ALinkToTheEnvironmentStaysOne) {
  fs::create_directory(files.node("out"));
  fs::create_symlink("../board.env", path("talmor-thermal.env"));
  write();
  EXPECT_TRUE(fs::is_symlink(path("talmor-thermal.env")));
  EXPECT_TRUE(compare().isSame());
}

TEST_F(FolderTest, AFolderThatCannotBeMadeOrReadIsATrouble) {
  files.write("out", "");
  const std::error_code reason = write().trouble->reason;
  // The standard libraries name it differently.
  EXPECT_TRUE(reason == std::errc::not_a_directory || reason == std::errc::file_exists) << reason;
  EXPECT_EQ(compare().trouble->path, files.node("out"));
  fs::remove(files.node("out"));
  EXPECT_EQ(compare().trouble->reason, std::errc::no_such_file_or_directory);
}

TEST_F(FolderTest, AFileThatCannotBeReadIsNoAnswer) {
  write();
  fs::remove(path("Android.bp"));
  fs::create_directory(path("Android.bp"));
  EXPECT_EQ(compare().trouble->reason, std::errc::is_a_directory);
  EXPECT_EQ(write().trouble->reason, std::errc::is_a_directory);
}
