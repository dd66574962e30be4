#include "support/FrameRateNode.h"

#include <sched.h>
#include <sys/mount.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cstdlib>
#include <filesystem>
#include <fstream>

#include <gtest/gtest.h>

#include "support/Fifo.h"

namespace {

constexpr int kNoNamespace = 77;
constexpr char kPlatform[] = "/sys/devices/platform";
constexpr char kFolder[] = "/sys/devices/platform/150c0000.talmor_is/debug";
constexpr char kNode[] = "/sys/devices/platform/150c0000.talmor_is/debug/en_fixed_sensor_fps";

bool enterNamespace() {
  // Only root may mount; anyone else first has to become root of a user namespace.
  const uid_t user = ::getuid();
  const gid_t group = ::getgid();
  if (user != 0) {
    if (::unshare(CLONE_NEWUSER) != 0) return false;
    std::ofstream("/proc/self/setgroups") << "deny";
    std::ofstream("/proc/self/uid_map") << "0 " << user << " 1";
    std::ofstream("/proc/self/gid_map") << "0 " << group << " 1";
  }
  return ::unshare(CLONE_NEWNS) == 0 &&
         ::mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0 &&
         ::mount("platform", kPlatform, "tmpfs", 0, nullptr) == 0;
}

[[noreturn]] void runChild(const std::function<void()>& drive, int result) {
  if (!enterNamespace()) ::_exit(kNoNamespace);
  std::filesystem::create_directories(kFolder);
  const Fifo node(kNode);
  drive();
  const std::string writes = node.take();
  const bool sent = ::write(result, writes.data(), writes.size()) >= 0;
  ::_exit(sent ? EXIT_SUCCESS : EXIT_FAILURE);
}

} // namespace

std::optional<std::string> frameRateWrites(const std::function<void()>& drive) {
  std::array<int, 2> result;
  if (::pipe(result.data()) != 0) std::abort();
  const pid_t child = ::fork();
  if (child == 0) runChild(drive, result[1]);
  ::close(result[1]);
  std::string writes;
  std::array<char, 64> chunk;
  ssize_t got = 0;
  while ((got = ::read(result[0], chunk.data(), chunk.size())) > 0)
    writes.append(chunk.data(), static_cast<size_t>(got));
  ::close(result[0]);
  int status = 0;
  ::waitpid(child, &status, 0);
  if (WIFEXITED(status) && WEXITSTATUS(status) == kNoNamespace) return std::nullopt;
  EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == EXIT_SUCCESS) << "status " << status;
  return writes;
}
