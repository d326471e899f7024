// The guest's end of the simulated wire: the frames on their way to it, and where its reader waits.
//
// Frames come out in the order of the moments they are due, equal ones in the order they were put
// in. Buffers are used again, so that a flood allocates nothing once it flows. Any thread.
#pragma once

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <mutex>
#include <optional>
#include <span>
#include <vector>

#include "vnetx/driver/notify_socket.h"

namespace vnxtest {

// What the simulated LAN wants to know of a frame when the guest reads it.
enum class SimFrameTag : std::uint8_t {
    Other,
    FirstGoodReply, // makes a request an answered one
    ExtraGoodReply, // a further good reply to an answered request
    SpoiltReply,    // a reply that cannot be matched with its request
    Ping,           // a ping to the guest
    Tick,           // no frame at all: the moment for the next ping to the guest
};

struct SimFrame {
    std::vector<std::uint8_t> bytes;
    SimFrameTag tag = SimFrameTag::Other;
};

class SimWire {
public:
    using Clock = std::chrono::steady_clock;

    // What may be on its way to one guest before the LAN drops requests. A real adapter's buffer is
    // smaller; this one only keeps a guest that never reads from eating the memory.
    static constexpr std::size_t kMaximumBytes = std::size_t{64} * 1024 * 1024;
    // How long a frame is held back for another to overtake it.
    static constexpr auto kReorderHold = std::chrono::milliseconds(100);

    SimWire() = default;
    SimWire(const SimWire&) = delete;
    SimWire& operator=(const SimWire&) = delete;

    // Puts the frame that is `head` followed by `body` on the wire, due at `due`. With `holdBack` the
    // next frame that is not held back overtakes it, if one comes within kReorderHold.
    void Put(std::span<const std::uint8_t> head, std::span<const std::uint8_t> body, Clock::time_point due,
             SimFrameTag tag, bool holdBack = false);
    bool IsFull() const;

    // Takes what is due, in order, at most `maximumBytes` of it (but at least one frame), to the
    // front of `batch`, whose former buffers go back into use; `batch` only ever grows.
    struct Collected {
        std::size_t frames = 0;
        std::size_t bytes = 0;
    };
    Collected Collect(Clock::time_point now, std::size_t maximumBytes, std::vector<SimFrame>& batch);
    // True when Collect would find something. Costs no lock.
    bool HasDue(Clock::time_point now) const {
        return now.time_since_epoch().count() >= m_earliest.load(std::memory_order_acquire);
    }

    // Drops everything.
    void Clear();

    enum class WaitResult { Ready, TimedOut, Woken };
    // Waits until something is due, Wake() is called or `limit` has come (none: no limit).
    WaitResult Wait(std::optional<Clock::time_point> limit);
    // Ends the current or the next Wait().
    void Wake();

    // From now on `socket` (null: none any more) is made readable whenever something is due. What
    // is put on the wire due at once raises it there and then; for the rest AwaitLater() must be
    // running on some thread. The socket must live until it is taken away.
    void SetSocket(NotifySocket* socket);
    // Waits for frames to come due and makes the socket readable, until SetSocket(nullptr).
    void AwaitLater();
    // The socket becomes unreadable until there is something due.
    void Rearm();

private:
    struct Key {
        Clock::time_point due;
        std::uint64_t order;
        std::uint32_t slot;
        bool operator>(const Key& other) const {
            return due != other.due ? due > other.due : order > other.order;
        }
    };

    // All under the lock.
    std::uint32_t TakeFreeSlot();
    void Push(const Key& key);
    const Key* NextDue(Clock::time_point now) const;
    void Pop(const Key* next); // what NextDue returned
    Clock::time_point Earliest() const;
    // After a change: tells whoever waits for an earlier or for no moment.
    void Publish();
    void Raise();

    mutable std::mutex m_mutex;
    std::condition_variable m_changed;
    std::vector<SimFrame> m_slots;
    std::vector<std::uint32_t> m_freeSlots;
    std::vector<Key> m_heap; // the earliest on top
    std::optional<Key> m_held;
    std::uint64_t m_nextOrder = 0;
    std::size_t m_bytes = 0;
    std::atomic<Clock::rep> m_earliest{INT64_MAX};
    int m_waiting = 0;
    bool m_woken = false;
    NotifySocket* m_socket = nullptr;
    bool m_raised = false;
};

} // namespace vnxtest
