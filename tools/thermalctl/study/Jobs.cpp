#include "study/Jobs.h"

#include <algorithm>
#include <condition_variable>
#include <exception>
#include <mutex>
#include <set>
#include <system_error>
#include <thread>
#include <vector>

namespace {

// Each thread takes the next job, works at it without the lock, and then settles whatever is next
// in order and done, under the lock, so that `after` is called for one job at a time and in their
// order. The first error ends it: nobody takes a further job, and the caller gets the error once
// all are back.
class Crew {
public:
  Crew(size_t count_, size_t threads_, const std::function<void(size_t)>& work_,
       const std::function<void(size_t)>& after_)
      : count(count_), ahead(kAhead * threads_), work(work_), after(after_) {}

  void run() {
    std::unique_lock lock(mutex);
    while (waitForOne(lock)) {
      const size_t mine = next++;
      lock.unlock();
      const std::exception_ptr error = caught([&] { work(mine); });
      lock.lock();
      note(error);
      done.insert(mine);
      settle();
    }
  }

  void rethrow() const {
    if (failure) std::rethrow_exception(failure);
  }

private:
  // What is done and waits for its turn is kept, and shall not be all of them.
  static constexpr size_t kAhead = 4;

  template <typename Step> static std::exception_ptr caught(Step step) {
    try {
      step();
    } catch (...) {
      return std::current_exception();
    }
    return nullptr;
  }

  bool waitForOne(std::unique_lock<std::mutex>& lock) {
    // Notified by whoever settles; all that it looks at changes under this mutex.
    changed.wait(lock, [this] { return failure || next == count || next < settled + ahead; });
    return !failure && next < count;
  }

  void note(const std::exception_ptr& error) {
    if (error && !failure) failure = error;
  }

  void settle() {
    while (!failure && done.erase(settled) > 0) {
      note(caught([this] { after(settled); }));
      ++settled;
    }
    changed.notify_all();
  }

  const size_t count;
  const size_t ahead;
  const std::function<void(size_t)>& work;
  const std::function<void(size_t)>& after;
  std::mutex mutex;
  std::condition_variable changed;
  size_t next = 0;
  size_t settled = 0; // all before it are
  std::set<size_t> done;
  std::exception_ptr failure;
};

} // namespace

void runJobs(size_t count, size_t threads, const std::function<void(size_t)>& work,
             const std::function<void(size_t)>& after) {
  Crew crew(count, threads, work, after);
  std::vector<std::thread> others;
  try {
    for (size_t i = 1; i < std::min(threads, count); ++i)
      others.emplace_back([&crew] { crew.run(); });
  } catch (const std::system_error&) {
    // The system gives no more of them. Those that are there do it all.
  }
  crew.run();
  for (std::thread& other : others)
    other.join();
  crew.rethrow();
}
