// What became of a frame of the guest, told by the receive path and the ping test to whoever watches the
// frames: a capture (src/capture). Nobody watches unless something is captured; a frame then costs one load
// and one branch.
#pragma once

#include <atomic>
#include <cstdint>

#include "core/interface_counts.h"
#include "wrenlib/address.h"

namespace vnxtest {

enum class FrameFate : std::uint8_t {
    NotTold,
    Ignored,       // for `reason`
    NotForGuest,   // an ARP or RARP request for another station
    Answered,      // a request for the guest
    AnswerFailed,  // likewise, but its answer could not be written
    Reply,         // to the ping of `number`
    ReplyToNoPing, // of this test
    Request,       // written: the ping of `number` to `station`
};

struct FrameVerdict {
    FrameFate fate = FrameFate::NotTold;
    IgnoreReason reason{};
    std::uint32_t number = 0;    // of the ping, as in its lines
    std::uint32_t replies = 0;   // to this ping, with this one
    Ipv4Address station{};       // the other one of the ping
    std::uint64_t roundTrip = 0; // nanoseconds
    std::uint64_t lateBy = 0;    // nanoseconds beyond the time-out, if the ping had timed out; else 0
};

class FrameWatcher {
public:
    // The frame that was read last from this handle. Its reader's thread.
    virtual void JudgeRead(std::int32_t handle, const FrameVerdict& verdict) noexcept = 0;
    // The frame that the calling thread writes next. Any thread.
    virtual void AnnounceWrite(const FrameVerdict& verdict) noexcept = 0;

protected:
    ~FrameWatcher() = default;
};

// The watcher; null if nobody watches. It outlives every guest that runs while it is set.
inline std::atomic<FrameWatcher*> g_frameWatcher{nullptr};

inline void TellRead(std::int32_t handle, const FrameVerdict& verdict) {
    if (FrameWatcher* const watcher = g_frameWatcher.load(std::memory_order_acquire)) {
        watcher->JudgeRead(handle, verdict);
    }
}

inline void TellNextWrite(const FrameVerdict& verdict) {
    if (FrameWatcher* const watcher = g_frameWatcher.load(std::memory_order_acquire)) {
        watcher->AnnounceWrite(verdict);
    }
}

} // namespace vnxtest
