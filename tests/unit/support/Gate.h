#pragma once

#include <atomic>
#include <future>

// A place where a thread stops until the test lets it pass. Open to begin with.
class Gate {
public:
  void close() {
    opened = std::promise<void>();
    passage = opened.get_future().share();
    closed = true;
  }
  void open() {
    closed = false;
    opened.set_value();
  }
  void pass() {
    if (!closed) return;
    stopped = true;
    passage.wait();
    stopped = false;
  }
  bool holdsAThread() const { return stopped; }

private:
  std::promise<void> opened;
  std::shared_future<void> passage;
  std::atomic<bool> closed{false};
  std::atomic<bool> stopped{false};
};
