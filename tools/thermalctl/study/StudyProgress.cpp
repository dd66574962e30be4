#include "study/StudyProgress.h"

#include <unistd.h>

#include <cmath>
#include <utility>

#include "text/Phrases.h"

StudyProgress::StudyProgress(std::string what_, size_t count_, int64_t each)
    : what(std::move(what_)), count(count_),
      total(static_cast<double>(each) * static_cast<double>(count)), line(STDERR_FILENO) {}

void StudyProgress::advance(int64_t milliseconds) {
  const std::lock_guard lock(mutex);
  passed += static_cast<double>(milliseconds);
  const Clock::time_point now = Clock::now();
  if (now < next) return;
  next = now + std::chrono::milliseconds(100);
  const double share = passed / total;
  const double spent = std::chrono::duration<double>(now - start).count();
  line.show(std::to_string(done) + " of " + counted(count, what) + ", " +
            std::to_string(static_cast<int>(100 * share)) + " %, " +
            clockTime(std::lround(spent * (1 - share) / share)) + " left");
}

void StudyProgress::finishOne() {
  const std::lock_guard lock(mutex);
  ++done;
}

void StudyProgress::clear() {
  const std::lock_guard lock(mutex);
  line.clear();
}
