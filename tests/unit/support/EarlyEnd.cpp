#include <unistd.h>

#include <atomic>
#include <cstdio>
#include <cstdlib>

#include <gtest/gtest.h>

// A configuration error ends the daemon at once and with status 0, which would make a test program
// that it happens to look as if all had passed. Only the child processes of the tests that wait for
// such an end may end so.

namespace {

// Which may be one that a runner has forked for the test at hand.
std::atomic<pid_t> processOfTheTest{::getpid()};

class ProcessWatch : public testing::EmptyTestEventListener {
  void OnTestStart(const testing::TestInfo&) override { processOfTheTest = ::getpid(); }
};

// GoogleTest deletes it.
const testing::TestEventListener* const watch = [] {
  auto* const listener = new ProcessWatch;
  testing::UnitTest::GetInstance()->listeners().Append(listener);
  return listener;
}();

} // namespace

// In place of the standard library's own, and declared as the one at hand declares it: glibc says
// that it throws nothing, bionic does not.
extern "C" __attribute__((noreturn)) void _Exit(int status) noexcept(noexcept(::_Exit(status))) {
  if (::getpid() == processOfTheTest) {
    std::fputs("The daemon has ended the test program.\n", stderr);
    std::abort();
  }
  ::_exit(status);
}
