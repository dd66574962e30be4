#pragma once

#include <fcntl.h>
#include <unistd.h>

#include <array>
#include <cstdlib>
#include <string>

// A terminal of which the test is the user.
class TestTerminal {
public:
  TestTerminal() : user(::posix_openpt(O_RDWR | O_NOCTTY)) {
    ::grantpt(user);
    ::unlockpt(user);
    std::array<char, 64> name{};
    if (::ptsname_r(user, name.data(), name.size()) == 0)
      shown = ::open(name.data(), O_RDWR | O_NOCTTY);
  }
  ~TestTerminal() {
    ::close(shown);
    ::close(user);
  }
  TestTerminal(const TestTerminal&) = delete;
  TestTerminal& operator=(const TestTerminal&) = delete;

  // The end that a program writes to.
  int program() const { return shown; }

  // What has been written since the last call. A terminal takes its time, so a mark comes behind
  // it.
  std::string text() const {
    constexpr char kMark = '\x01';
    if (::write(shown, &kMark, 1) != 1) return "cannot be written";
    std::string text;
    for (char each = 0; ::read(user, &each, 1) == 1 && each != kMark;)
      text += each;
    return text;
  }

  // Presses keys.
  void type(const std::string& keys) const {
    static_cast<void>(!::write(user, keys.data(), keys.size()));
  }

private:
  int user;
  int shown = -1;
};
