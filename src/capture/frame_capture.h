// One capture of the guest's frames into a pcapng file, written by a thread of its own.
//
// Whatever becomes of the file, the guest goes on: a slow disk makes the capture drop frames, which are
// counted in the file, and a failure ends the capture, with whole blocks in the file.
#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <thread>

#include "capture/frame_queue.h"
#include "capture/pcapng.h"
#include "platform/files/block_file.h"

namespace vnxtest {

struct CaptureCounts {
    std::uint64_t written = 0; // frames in the file
    std::uint64_t dropped = 0; // for the file was not written fast enough
    std::wstring problem;      // why the capture ended before its time, in whole sentences; else empty
    bool hasBegun = false;     // the guest was started
    bool isOver = false;       // everything is written, or cannot be
};

class FrameCapture {
public:
    static constexpr std::size_t kQueueSize = std::size_t{8} * 1024 * 1024; // bytes

    // `file` is open. `onEnd` is called once, on the writer's thread, when the capture has failed or is
    // complete; not after the destructor.
    FrameCapture(BlockFile file, std::function<void()> onEnd, std::size_t queueSize = kQueueSize);
    // Waits for an ordinary file, not for a reader.
    ~FrameCapture();
    FrameCapture(const FrameCapture&) = delete;
    FrameCapture& operator=(const FrameCapture&) = delete;

    // Starts the writer, which begins the file. A failure is a problem of the capture.
    void Begin();

    // The number of a new interface; nullopt if there are too many. Any thread.
    std::optional<std::uint8_t> AddInterface(pcapng::Interface interface);
    // The interface's end, with its own counts as far as they are known. Any thread.
    void EndInterface(std::uint8_t interface, std::optional<std::uint64_t> received,
                      std::optional<std::uint64_t> dropped);

    // Puts a frame in; null if it is dropped. Close it when its verdict is known. Any thread.
    QueuedFrame* Put(const FrameQueue::Frame& frame);
    void Close(QueuedFrame* frame);

    // No frame follows: the rest is written, then the statistics. Returns at once. Any thread.
    void End();
    // Waits until it is over, at most `limit`.
    bool WaitUntilOver(std::chrono::milliseconds limit) const;
    CaptureCounts Counts() const;

private:
    struct State;

    std::shared_ptr<State> m_state; // the thread's, too, which may be left behind in a write
    std::thread m_thread;
};

// Now, as a capture tells it: nanoseconds since 1970 (UTC).
std::uint64_t CaptureTime();

} // namespace vnxtest
