#include "status/NodeReading.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include "support/SysfsDir.h"

namespace {

class NodeReadingTest : public ::testing::Test {
protected:
  SysfsDir sysfs;
};

TEST_F(NodeReadingTest, GivesTheContentAsItIs) {
  const std::string content("61000\n\0\xFF ", 9);
  const NodeReading reading = readNode(sysfs.write("temp", content));
  EXPECT_TRUE(reading.hasContent());
  EXPECT_EQ(reading.content, content);
}

TEST_F(NodeReadingTest, GivesTheEndOfALongFile) {
  const std::string content = std::string(100000, 'a') + "end";
  const NodeReading reading = readNode(sysfs.write("report", content));
  EXPECT_EQ(reading.content, content.substr(content.size() - 4096));
}

TEST_F(NodeReadingTest, CallsAnAbsentNodeMissing) {
  EXPECT_EQ(readNode(sysfs.node("temp")).fault, "missing");
  EXPECT_FALSE(readNode(sysfs.node("temp")).hasContent());
}

TEST_F(NodeReadingTest, NeedsAPath) {
  EXPECT_EQ(readNode("").fault, "no node_path");
}

TEST_F(NodeReadingTest, NamesTheSystemsReason) {
  EXPECT_EQ(readNode(sysfs.write("temp", "") + "/temp").fault, "Not a directory");
}

TEST_F(NodeReadingTest, TakesADirectoryForAFault) {
  EXPECT_EQ(readNode(sysfs.node("")).fault, "a directory");
}

TEST_F(NodeReadingTest, LeavesAWriteOnlyNodeAlone) {
  ::chmod(sysfs.write("max_freq", "100").c_str(), 0222);
  const NodeReading reading = readNode(sysfs.node("max_freq"));
  EXPECT_EQ(reading.reserve, "write-only");
  EXPECT_EQ(reading.fault, "");
  EXPECT_FALSE(reading.hasContent());
}

TEST_F(NodeReadingTest, TakesNothingOutOfAPipe) {
  const std::string path = sysfs.node("pipe");
  ASSERT_EQ(::mkfifo(path.c_str(), 0666), 0);
  const int pipe = ::open(path.c_str(), O_RDWR | O_NONBLOCK);
  ASSERT_EQ(::write(pipe, "alarm", 5), 5);
  EXPECT_EQ(readNode(path).reserve, "a pipe");
  char buffer[8];
  EXPECT_EQ(::read(pipe, buffer, sizeof buffer), 5);
  ::close(pipe);
}

TEST_F(NodeReadingTest, LeavesADeviceAlone) {
  EXPECT_EQ(readNode("/dev/zero").reserve, "not a file");
}

} // namespace
