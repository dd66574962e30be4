#include "file/FileHandle.h"

#include <fcntl.h>
#include <sys/socket.h>

#include <array>
#include <string>
#include <thread>

#include <gtest/gtest.h>

namespace {

bool isOpen(int fd) {
  return ::fcntl(fd, F_GETFD) >= 0;
}

int anyFile() {
  return ::open("/dev/null", O_RDWR | O_CLOEXEC);
}

TEST(FileHandleTest, ClosesItsFileWithItsScope) {
  int fd = -1;
  {
    const FileHandle handle(anyFile());
    EXPECT_TRUE(handle);
    fd = handle.get();
    EXPECT_TRUE(isOpen(fd));
  }
  EXPECT_FALSE(isOpen(fd));
}

TEST(FileHandleTest, HandsItsFileOnWithoutClosingIt) {
  FileHandle first(anyFile());
  const int fd = first.get();
  FileHandle second(std::move(first));
  EXPECT_EQ(second.get(), fd);
  FileHandle third;
  EXPECT_FALSE(third);
  third = std::move(second);
  EXPECT_EQ(third.get(), fd);
  EXPECT_TRUE(isOpen(fd));
}

TEST(FileHandleTest, ClosesWhatAnAssignmentReplaces) {
  int replaced = -1;
  {
    FileHandle handle(anyFile());
    replaced = handle.get();
    handle = FileHandle(anyFile());
    EXPECT_NE(handle.get(), replaced);
  }
  EXPECT_FALSE(isOpen(replaced));
}

TEST(FileHandleTest, WritesMoreThanTheSystemTakesAtOnce) {
  std::array<int, 2> ends{};
  ASSERT_EQ(::socketpair(AF_UNIX, SOCK_STREAM, 0, ends.data()), 0);
  const std::string content(3'000'000, 'x');
  size_t received = 0;
  std::thread reader([&] {
    std::array<char, 4096> chunk;
    for (ssize_t got = 0; (got = ::read(ends[1], chunk.data(), chunk.size())) > 0;)
      received += static_cast<size_t>(got);
  });
  EXPECT_FALSE(writeAll(ends[0], content));
  ::close(ends[0]);
  reader.join();
  ::close(ends[1]);
  EXPECT_EQ(received, content.size());
}

TEST(FileHandleTest, TellsWhatCannotBeWritten) {
  const FileHandle full(::open("/dev/full", O_WRONLY | O_CLOEXEC));
  EXPECT_EQ(writeAll(full.get(), "x"), std::errc::no_space_on_device);
  EXPECT_FALSE(writeAll(full.get(), ""));
}

} // namespace
