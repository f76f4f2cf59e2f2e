#pragma once
// Work on the items of a batch on several threads, with the results handed on in the
// order of the items: each result as soon as it and all before it are done, on the
// calling thread. The output of a batch is then the same whatever the number of threads.

#include <cstddef>
#include <functional>

namespace quillmark::cli {

// The number of threads to use when none is asked for: one per core, at least one.
unsigned defaultJobCount();

// Calls work(i) for every i < count on up to `jobs` threads (with one job, on the
// calling thread) and deliver(i) on the calling thread for i = 0, 1, ... as soon as
// work(i) has returned; deliver(i) sees everything work(i) wrote. An exception from
// work(i) is thrown from here in place of deliver(i), once the running work has ended.
void runInOrder(size_t count, unsigned jobs, const std::function<void(size_t)>& work,
                const std::function<void(size_t)>& deliver);

}  // namespace quillmark::cli
