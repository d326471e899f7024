// Text on its way to something that may not take it: a pipe that nobody reads, a stopped terminal, a slow
// disk.
//
// A thread of its own writes and waits; whoever has text hands it over and goes on. What waits is bounded:
// beyond the bound whole lines are left out, and a line stands in their place that says how many.
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

    // The functions run on the writer's thread, which may outlive this object when it is stuck in them:
    // they must own what they use.
    struct Destination {
        // Writes all of the text, for as long as it takes. The sentence about a failure, empty when there is
        // none. After a failure it is not called again.
        std::function<std::wstring(std::string_view text)> write;
        // After the last text: likewise. May be empty.
        std::function<std::wstring()> finish = nullptr;
        // It never takes for ever, however slow it is: an ordinary file. Worth waiting for.
        bool isPatient = false;
    };

    // `onEnd` is called once, when nothing more will be written, and never after the destructor has begun.
    explicit BackgroundWriter(Destination destination, std::function<void()> onEnd = nullptr,
                              std::size_t mostWaiting = kMostWaiting);
    // Waits for nothing: what is not written by now may never be.
    ~BackgroundWriter();
    BackgroundWriter(const BackgroundWriter&) = delete;
    BackgroundWriter& operator=(const BackgroundWriter&) = delete;

    // All of these return at once, but for WaitUntilIdle. One thread.

    // Takes whole lines. The first call makes the thread; that it cannot be made is a failure of writing.
    void Append(std::shared_ptr<const std::string> lines);
    // No more will come.
    void Close();
    // Leaves out what waits, but for its last lines (64 Kbytes at most).
    void SkipToLastLines();
    // Takes no notice any more of what is still to be written: IsDone from now on.
    void GiveUp();

    // Everything is written, or something has failed. After Close or a failure.
    bool IsDone() const;
    bool IsPatient() const;
    // Nothing waits to be written.
    bool IsIdle() const;
    // Waits for that, at most so long.
    void WaitUntilIdle(std::chrono::milliseconds limit) const;
    // The sentence about the first failure; empty when there was none.
    std::wstring Problem() const;
    // Lines so far.
    std::uint64_t LinesLeftOut() const;

private:
    struct State;
    static void Run(const std::shared_ptr<State>& state);
    void Start();

    std::shared_ptr<State> m_state;
    std::thread m_thread;
};

} // namespace vnxtest
