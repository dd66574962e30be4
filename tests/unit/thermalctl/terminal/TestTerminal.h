#pragma once

#include <fcntl.h>
#include <unistd.h>

#include <array>
#include <cstdlib>
#include <string>

// A terminal of which the test is the user.
class TestTerminal {
public:
  TestTerminal() : user(::posix_openpt(O_RDWR | O_NOCTTY | O_NONBLOCK)) {
    ::grantpt(user);
    ::unlockpt(user);
    shown = ::open(::ptsname(user), O_RDWR | O_NOCTTY);
  }
  ~TestTerminal() {
    ::close(shown);
    ::close(user);
  }
  TestTerminal(const TestTerminal&) = delete;
  TestTerminal& operator=(const TestTerminal&) = delete;

  // The end that a program writes to.
  int program() const { return shown; }

  // What has been written since the last call.
  std::string text() const {
    std::array<char, 4096> chunk;
    const ssize_t got = ::read(user, chunk.data(), chunk.size());
    return got > 0 ? std::string(chunk.data(), static_cast<size_t>(got)) : "";
  }

private:
  int user;
  int shown = -1;
};
