#include "open/slow_close.h"

#include <algorithm>
#include <atomic>
#include <cstddef>
#include <forward_list>
#include <functional>
#include <memory>
#include <mutex>
#include <system_error>
#include <thread>
#include <utility>

#include <unistd.h>

namespace vnxtest::slow_close {

namespace {

// Each closes its share one by one. A thread costs some microseconds, a round of closing milliseconds.
constexpr std::size_t kMostThreads = 256;

class ClosingThreads {
public:
    ClosingThreads() = default;
    ~ClosingThreads() { Await(); }
    ClosingThreads(const ClosingThreads&) = delete;
    ClosingThreads& operator=(const ClosingThreads&) = delete;

    // Throws std::system_error if there is no thread to be had.
    void Start(std::function<void()> work) {
        const std::lock_guard lock(m_lock);
        m_threads.remove_if([](Closing& each) {
            const bool done = each.done;
            if (done) {
                each.thread.join();
            }
            return done;
        });
        Closing& closing = m_threads.emplace_front();
        try {
            closing.thread = std::thread([work = std::move(work), &done = closing.done] {
                work();
                done = true;
            });
        } catch (const std::system_error&) {
            m_threads.pop_front();
            throw;
        }
    }

    void Await() {
        std::forward_list<Closing> threads;
        {
            const std::lock_guard lock(m_lock);
            threads.swap(m_threads);
        }
        for (Closing& each : threads) {
            each.thread.join();
        }
    }

private:
    struct Closing {
        std::thread thread;
        std::atomic<bool> done{false};
    };

    std::mutex m_lock;
    std::forward_list<Closing> m_threads; // under m_lock
};

ClosingThreads& Threads() {
    static ClosingThreads threads;
    return threads;
}

} // namespace

void Begin(std::vector<int> descriptors) {
    const auto all = std::make_shared<const std::vector<int>>(std::move(descriptors));
    const std::size_t count = std::min(kMostThreads, all->size());
    const auto closeShare = [all, count](std::size_t first) {
        for (std::size_t at = first; at < all->size(); at += count) {
            close((*all)[at]);
        }
    };
    for (std::size_t first = 0; first < count; ++first) {
        try {
            Threads().Start([=] { closeShare(first); });
        } catch (const std::system_error&) {
            closeShare(first);
        }
    }
}

void Await() {
    Threads().Await();
}

} // namespace vnxtest::slow_close
