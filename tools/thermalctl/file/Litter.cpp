#include "file/Litter.h"

#include <unistd.h>

#include <array>
#include <atomic>
#include <cerrno>
#include <csignal>
#include <stdexcept>

namespace {

constexpr std::array<int, 5> kSignals = {SIGINT, SIGTERM, SIGHUP, SIGQUIT, SIGPIPE};
constexpr size_t kSlots = 16;

// Read by the handler at any moment.
std::array<std::atomic<const char*>, kSlots> paths;

void removeFileOrFolder(const char* path) {
  if (::unlink(path) != 0 && (errno == EISDIR || errno == EPERM)) ::rmdir(path);
}

extern "C" void removeAll(int number) {
  for (size_t i = kSlots; i > 0; --i) {
    if (const char* path = paths[i - 1]) removeFileOrFolder(path);
  }
  // By now the default is back in force.
  ::raise(number);
}

// One that is ignored, as below nohup, stays so.
void watch(int number) {
  struct sigaction old = {};
  if (::sigaction(number, nullptr, &old) != 0 || old.sa_handler != SIG_DFL) return;
  struct sigaction ours = {};
  ours.sa_handler = removeAll;
  ours.sa_flags = static_cast<int>(SA_RESETHAND) | SA_NODEFER;
  ::sigaction(number, &ours, nullptr);
}

void blockSignals(int how) {
  sigset_t set;
  ::sigemptyset(&set);
  for (const int number : kSignals)
    ::sigaddset(&set, number);
  ::pthread_sigmask(how, &set, nullptr);
}

} // namespace

Litter::Litter(std::string path) : name(std::move(path)), slot(0) {
  for (const int number : kSignals)
    watch(number);
  while (slot < kSlots && paths[slot])
    ++slot;
  if (slot == kSlots) throw std::length_error("too many files at once");
  paths[slot] = name.c_str();
}

Litter::~Litter() {
  if (slot == kSlots) return;
  removeFileOrFolder(name.c_str());
  paths[slot] = nullptr;
}

void Litter::keep() {
  // The place may be another one's by the time that this one ends.
  paths[slot] = nullptr;
  slot = kSlots;
}

NoSignals::NoSignals() {
  blockSignals(SIG_BLOCK);
}

NoSignals::~NoSignals() {
  blockSignals(SIG_UNBLOCK);
}
