#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <map>
#include <string>
#include <vector>

#include <gtest/gtest.h>

// Runs each test in a process forked for it, several at once, as Android's runner of isolated tests
// does, and names those that fail.

namespace {

constexpr size_t kAtOnce = 4;

std::vector<std::string> allTests() {
  std::vector<std::string> names;
  const testing::UnitTest& all = *testing::UnitTest::GetInstance();
  for (int i = 0; i < all.total_test_suite_count(); ++i) {
    const testing::TestSuite& suite = *all.GetTestSuite(i);
    for (int j = 0; j < suite.total_test_count(); ++j)
      names.push_back(std::string(suite.name()) + "." + suite.GetTestInfo(j)->name());
  }
  return names;
}

class Runner {
public:
  void start(const std::string& name) {
    if (running.size() == kAtOnce) awaitOne();
    const pid_t child = ::fork();
    if (child == 0) {
      testing::GTEST_FLAG(filter) = name;
      ::exit(RUN_ALL_TESTS());
    }
    running[child] = name;
  }

  bool finish() {
    while (!running.empty())
      awaitOne();
    return failures == 0;
  }

private:
  void awaitOne() {
    int status = 0;
    const pid_t child = ::wait(&status);
    const std::string name = running.at(child);
    running.erase(child);
    if (WIFEXITED(status) && WEXITSTATUS(status) == EXIT_SUCCESS) return;
    ++failures;
    std::printf("failed: %s\n", name.c_str());
  }

  std::map<pid_t, std::string> running;
  size_t failures = 0;
};

} // namespace

int main(int argc, char** argv) {
  testing::InitGoogleTest(&argc, argv);
  Runner runner;
  for (const std::string& name : allTests())
    runner.start(name);
  return runner.finish() ? EXIT_SUCCESS : EXIT_FAILURE;
}
