// A thread that announces its end to the view.
//
// HasEnded() is true before the message is posted, so that the handler can tell the end of this thread from
// a message that an earlier one left in the queue.
#pragma once

#include <atomic>
#include <source_location>
#include <system_error>
#include <thread>
#include <utility>

#include "core/view_port.h"
#include "wrenlib/log.h"

namespace vnxtest {

// Not itself thread-safe: start and join it on one thread, or under a lock.
class WorkerThread {
public:
    WorkerThread() = default;
    WorkerThread(const WorkerThread&) = delete;
    WorkerThread& operator=(const WorkerThread&) = delete;
    ~WorkerThread() { Join(); }

    // Runs `procedure` on a new thread and then posts `ended` to `view`. False, with the assertion line of
    // the caller and StartError(), if the system has no thread to give. Not while one exists.
    template <typename Procedure>
    bool Start(Procedure procedure, ViewPort& view, ViewMessage ended,
               std::source_location where = std::source_location::current()) {
        m_ended = false;
        try {
            m_thread = std::thread([this, &view, ended, run = std::move(procedure)]() mutable {
                run();
                m_ended.store(true, std::memory_order_release);
                view.PostViewMessage(ended);
            });
            return true;
        } catch (const std::system_error& error) {
            m_startError = error.code().value();
            return Verify(false, where);
        }
    }

    // The errno value of the last Start that failed.
    int StartError() const { return m_startError; }
    // True from a successful Start until Join.
    bool Exists() const { return m_thread.joinable(); }
    // True if it exists and its procedure has returned: Join will hardly block.
    bool HasEnded() const { return Exists() && m_ended.load(std::memory_order_acquire); }
    // Waits for its end, without limit. No effect without a thread.
    void Join() {
        if (m_thread.joinable()) {
            m_thread.join();
        }
    }

private:
    std::thread m_thread;
    std::atomic<bool> m_ended{false};
    int m_startError = 0;
};

} // namespace vnxtest
