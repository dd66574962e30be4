#pragma once

#include <csignal>

// While one of these lives, Ctrl-C asks to come to an end; a second one ends the process.
//
// Threads: any may ask.
class Interruptible {
public:
  Interruptible() {
    struct sigaction ours = {};
    ours.sa_handler = [](int) { asked = 1; };
    ours.sa_flags = static_cast<int>(SA_RESETHAND);
    ::sigaction(SIGINT, &ours, &before);
  }
  ~Interruptible() { ::sigaction(SIGINT, &before, nullptr); }
  Interruptible(const Interruptible&) = delete;
  Interruptible& operator=(const Interruptible&) = delete;

  static bool isAsked() { return asked != 0; }

private:
  static inline volatile std::sig_atomic_t asked = 0;
  struct sigaction before = {};
};
