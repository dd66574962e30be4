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

TEST_F(FolderTest, ALineThatDiffersIsFoundInItsFile) {
  write();
  std::string text = files.read("out/talmor-thermal-board.rc");
  const std::string node = "/sys/devices/big";
  text.replace(text.find("chmod 0644 " + node), 10, "chmod 0600");
  files.write("out/talmor-thermal-board.rc", text);
  const ComparedFolder compared = compare();
  EXPECT_FALSE(compared.isSame());
  ASSERT_EQ(compared.findings.size(), 1U);
  EXPECT_EQ(compared.findings[0].file, path("talmor-thermal-board.rc"));
  EXPECT_EQ(compared.findings[0].hint, "it must be 'chmod 0644 " + node + "'");
  EXPECT_EQ(compared.sources.at(path("talmor-thermal-board.rc")).text(), text);
}

TEST_F(FolderTest, AnEnvironmentOfWhichAByteDiffersIsFound) {
  write();
  files.write("out/talmor-thermal.env", std::string(kBoard) + "\n");
  const ComparedFolder compared = compare();
  ASSERT_EQ(compared.findings.size(), 1U);
  EXPECT_EQ(compared.findings[0].at.line, 5);
  write();
  EXPECT_TRUE(compare().isSame());
}

TEST_F(FolderTest, WhatItsOwnerSaysOfLicensesStaysAtTheNextTime) {
  write();
  const std::string license = "license {\n    name: \"mine\",\n}\n";
  files.write("out/Android.bp", license + files.read("out/Android.bp"));
  // It is in another place than where it will be.
  EXPECT_FALSE(compare().isSame());
  write();
  EXPECT_NE(files.read("out/Android.bp").find(license), std::string::npos);
  EXPECT_TRUE(compare().isSame());
}

TEST_F(FolderTest, WhereAFileCannotBeWrittenNothingIsTakenAway) {
  write();
  fs::remove(path("talmor-thermal.env"));
  fs::create_directory(path("talmor-thermal.env"));
  const WrittenFolder written = write(kWithoutBytes);
  ASSERT_TRUE(written.trouble);
  EXPECT_EQ(written.trouble->path, path("talmor-thermal.env"));
  EXPECT_EQ(written.written.size(), 5U);
  EXPECT_TRUE(written.removed.empty());
  EXPECT_TRUE(fs::exists(path("talmor-thermal-big.level0")));
}

TEST_F(FolderTest, EachFileIsToldInItsOrder) {
  files.write("talmor-thermal.conf", "SCEN Default\n");
  EXPECT_EQ(write().written, (std::vector<std::string>{
                                 path("Android.bp"), path("sepolicy/file_contexts"),
                                 path("sepolicy/genfs_contexts"), path("talmor-thermal-board.rc"),
                                 path("talmor-thermal-ueventd.rc"), path("talmor-thermal.env"),
                                 path("talmor-thermal-big.level0"), path("talmor-thermal.conf")}));
}
