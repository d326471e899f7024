// The frames of a capture on their way to its writer: a ring of bytes that is made once.
//
// Many threads put frames in, one takes them out, in the order of Reserve(). A frame is copied when it is
// read, because the receive path makes its answer in the same buffer, and is closed when its verdict is
// known. Nobody who puts a frame in waits for the writer: a frame without room is dropped, and the next one
// of its interface says how many were.
#pragma once

#include <array>
#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <mutex>
#include <span>

#include "capture/pcapng.h"
#include "core/frame_verdict.h"

namespace vnxtest {

// A frame in the queue. Its bytes follow it in memory.
struct QueuedFrame {
    enum class State : std::uint32_t { Open, Closed, Gap };

    std::atomic<State> state;
    std::uint32_t room;   // bytes in the ring, with this record
    std::uint32_t length; // of the frame
    std::uint8_t interface;
    pcapng::Direction direction;
    int failure; // errno of a write that failed; 0: none did
    std::uint64_t time;
    std::uint64_t dropped; // of this interface before this frame
    FrameVerdict verdict;

    std::span<const std::uint8_t> Bytes() const {
        return {reinterpret_cast<const std::uint8_t*>(this + 1), length};
    }
};

class FrameQueue {
public:
    static constexpr std::size_t kMostInterfaces = 8;

    // `size` in bytes.
    explicit FrameQueue(std::size_t size);

    // What is known of a frame when it is put in.
    struct Frame {
        std::uint8_t interface = 0;
        pcapng::Direction direction{};
        std::uint64_t time = 0;
        std::span<const std::uint8_t> bytes;
    };

    // Any thread.

    // Copies `frame` into the queue and returns it open: the writer waits for its Close(). Null if there is
    // no room; it is counted then.
    QueuedFrame* Reserve(const Frame& frame);
    // `frame` is complete and must not be used any more.
    void Close(QueuedFrame* frame);
    // No frame will be put in any more.
    void End();
    // Frames that had no room, of all interfaces.
    std::uint64_t Dropped() const { return m_dropped.load(std::memory_order_relaxed); }
    std::uint64_t Dropped(std::size_t interface) const;

    // The writer's.

    // The oldest frame if it is closed; null if there is none.
    QueuedFrame* Front();
    void Pop();
    // Gathers for `time`, then waits until there is a frame; less if half of the ring is full or End() was
    // called. True once it has ended.
    bool Wait(std::chrono::milliseconds time);
    bool IsEmpty() const;

private:
    bool HasRoom(std::size_t room, std::size_t& gap) const;
    void Wake();

    const std::size_t m_size;
    const std::unique_ptr<std::uint8_t[]> m_ring;
    std::atomic<std::uint64_t> m_head{0}; // bytes ever taken out
    std::atomic<std::uint64_t> m_tail{0}; // bytes ever put in
    std::mutex m_reserving;               // guards m_tail's writers and m_droppedSince
    std::array<std::uint64_t, kMostInterfaces> m_droppedSince{};
    std::array<std::atomic<std::uint64_t>, kMostInterfaces> m_droppedOf{};
    std::atomic<std::uint64_t> m_dropped{0};

    enum class Writer : int { Busy, Gathering, Idle };
    std::atomic<Writer> m_writer{Writer::Busy};
    std::mutex m_waiting; // guards m_ended
    std::condition_variable m_wake;
    bool m_ended = false;
};

} // namespace vnxtest
