// Writes text to a destination that may block: a pipe without a reader, a stopped terminal, a slow disk.
//
// A thread of its own writes and waits; the caller queues its text and goes on. The queue is bounded:
// beyond that whole lines are left out, and one line in their place says how many.
#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <thread>

namespace vnxtest {

class BackgroundWriter {
public:
    static constexpr std::size_t kMostWaiting = std::size_t{32} * 1024 * 1024;

    // The functions run on the writer's thread, which may outlive this object while it is blocked in them:
    // they must own what they use.
    struct Destination {
        // Writes all of the text; may block. Returns a sentence about a failure, empty if there is none.
        // Not called again after a failure.
        std::function<std::wstring(std::string_view text)> write;
        // Called after the last text; likewise. May be null.
        std::function<std::wstring()> finish = nullptr;
        // A write always ends, however slow it is: an ordinary file. Waited for at the end.
        bool isPatient = false;
    };

    // `onEnd` is called once, under the writer's lock, after the last text or a failure, but not after
    // GiveUp() or the destructor, nor if there was nothing to write.
    explicit BackgroundWriter(Destination destination, std::function<void()> onEnd = nullptr,
                              std::size_t mostWaiting = kMostWaiting);
    // Does not wait: text that is not written yet may be lost. A blocked thread is detached.
    ~BackgroundWriter();
    BackgroundWriter(const BackgroundWriter&) = delete;
    BackgroundWriter& operator=(const BackgroundWriter&) = delete;

    // All of these return at once, except WaitUntilIdle. One thread.

    // Queues whole lines. The first call starts the thread; if the system has none to give, that is a
    // failure of writing.
    void Append(std::shared_ptr<const std::string> lines);
    // Ends the queue: no Append() may follow.
    void Close();
    // Leaves out the queue except its last lines (64 Kbytes at most).
    void SkipToLastLines();
    // Gives up the rest of the queue: IsDone() from now on.
    void GiveUp();

    // True after everything was written, a failure or GiveUp().
    bool IsDone() const;
    bool IsPatient() const;
    // True if the queue is empty.
    bool IsIdle() const;
    // Waits for that or the end, at most `limit`.
    void WaitUntilIdle(std::chrono::milliseconds limit) const;
    // The sentence about the first failure; empty if there was none.
    std::wstring Problem() const;
    // Lines left out so far.
    std::uint64_t LinesLeftOut() const;

private:
    struct State;
    static void Run(const std::shared_ptr<State>& state);
    void Start();

    std::shared_ptr<State> m_state;
    std::thread m_thread;
};

} // namespace vnxtest
