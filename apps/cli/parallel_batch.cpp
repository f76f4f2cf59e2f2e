// A small pool of threads that take the items of a batch by a shared index.

#include "parallel_batch.h"

#include <algorithm>
#include <atomic>
#include <condition_variable>
#include <exception>
#include <mutex>
#include <thread>
#include <vector>

namespace quillmark::cli {

namespace {

// What the workers tell the delivering thread.
class Completion {
public:
    explicit Completion(size_t count) : done_(count, false), failures_(count) {}

    void finish(size_t item, std::exception_ptr failure) {
        {
            std::lock_guard lock(mutex_);
            done_[item] = true;
            failures_[item] = std::move(failure);
        }
        changed_.notify_all();
    }

    // Waits for the item; its exception, if its work threw one.
    std::exception_ptr await(size_t item) {
        std::unique_lock lock(mutex_);
        changed_.wait(lock, [&] { return done_[item]; });
        return failures_[item];
    }

private:
    std::mutex mutex_;
    std::condition_variable changed_;
    std::vector<bool> done_;
    std::vector<std::exception_ptr> failures_;
};

void runOnThisThread(size_t count, const std::function<void(size_t)>& work, const std::function<void(size_t)>& deliver) {
    for (size_t item = 0; item < count; ++item) {
        work(item);
        deliver(item);
    }
}

}  // namespace

unsigned defaultJobCount() { return std::max(1u, std::thread::hardware_concurrency()); }

void runInOrder(size_t count, unsigned jobs, const std::function<void(size_t)>& work,
                const std::function<void(size_t)>& deliver) {
    const size_t threads = std::min<size_t>(std::max(jobs, 1u), count);
    if (threads <= 1) {
        runOnThisThread(count, work, deliver);
        return;
    }
    Completion completion(count);
    std::atomic<size_t> next{0};
    // Set when delivery stops early, so that the workers take no new items.
    std::atomic<bool> stopping{false};
    std::vector<std::jthread> pool;
    pool.reserve(threads);
    for (size_t i = 0; i < threads; ++i) {
        pool.emplace_back([&] {
            for (size_t item = next++; item < count && !stopping; item = next++) {
                std::exception_ptr failure;
                try {
                    work(item);
                } catch (...) {
                    failure = std::current_exception();
                }
                completion.finish(item, std::move(failure));
            }
        });
    }
    try {
        for (size_t item = 0; item < count; ++item) {
            if (std::exception_ptr failure = completion.await(item)) std::rethrow_exception(failure);
            deliver(item);
        }
    } catch (...) {
        stopping = true;
        pool.clear();  // joins: no thread outlives what it refers to
        throw;
    }
}

}  // namespace quillmark::cli
