#pragma once

#include <cstddef>
#include <functional>

// Does `count` jobs on so many threads, the caller's among them, and what comes after each in the
// order of the jobs.
//
// Shape:   `work(i)` is called once for each i, by any thread, some way ahead of the first that is
//          not done at most. `after(i)` is called in the order of i, once work(i) is done, by one
//          thread at a time.
// Errors:  the first exception of either ends it: what is under way is finished, and the exception
//          thrown again.
// Threads: whatever `work` shares it must guard; `after` sees all that the works before it did.
void runJobs(size_t count, size_t threads, const std::function<void(size_t)>& work,
             const std::function<void(size_t)>& after);
