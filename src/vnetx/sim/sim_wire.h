// The guest's end of the simulated wire: the frames on their way to it, and where its reader waits.
//
// Frames come out in the order of their due times, equal ones in the order they were put in. Buffers are
// reused, so that a flood allocates nothing once it flows. Any thread; one lock.
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

// What a frame is, for the LAN's counters when the guest reads it.
enum class SimFrameTag : std::uint8_t {
    Other,
    FirstGoodReply, // makes a request an answered one
    ExtraGoodReply, // a further good reply to an answered request
    SpoiltReply,    // a reply that cannot be matched with its request
    Ping,           // a ping to the guest
    Tick,           // not a frame: the next ping to the guest is due
};

struct SimFrame {
    std::vector<std::uint8_t> bytes;
    SimFrameTag tag = SimFrameTag::Other;
};

class SimWire {
public:
    using Clock = std::chrono::steady_clock;

    // The bytes on their way to one guest above which the LAN drops requests. A real adapter's buffer is
    // smaller; this only bounds the memory of a guest that never reads.
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

    // Moves the frames that are due, in order, at most `maximumBytes` of them (but at least one frame), to
    // the front of `batch`, whose former buffers are reused. `batch` never shrinks.
    struct Collected {
        std::size_t frames = 0;
        std::size_t bytes = 0;
    };
    Collected Collect(Clock::time_point now, std::size_t maximumBytes, std::vector<SimFrame>& batch);
    // True if Collect would find a frame. Takes no lock.
    bool HasDue(Clock::time_point now) const {
        return now.time_since_epoch().count() >= m_earliest.load(std::memory_order_acquire);
    }

    // Drops everything.
    void Clear();

    enum class WaitResult { Ready, TimedOut, Woken };
    // Waits until a frame is due, Wake() is called or `limit` has come (nullopt: no limit). One thread at a
    // time.
    WaitResult Wait(std::optional<Clock::time_point> limit);
    // Ends the current or the next Wait().
    void Wake();

    // From now on `socket` (null: none) is made readable whenever a frame is due. Put() does so itself for
    // a frame that is due at once; for later ones AwaitLater() must be running on some thread. The socket
    // must live until SetSocket(nullptr).
    void SetSocket(NotifySocket* socket);
    // Makes the socket readable as frames come due; returns after SetSocket(nullptr).
    void AwaitLater();
    // Makes the socket unreadable until a frame is due.
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

    // All called under the lock.
    std::uint32_t TakeFreeSlot();
    void Push(const Key& key);
    const Key* NextDue(Clock::time_point now) const;
    void Pop(const Key* next); // what NextDue returned
    Clock::time_point Earliest() const;
    // After a change: wakes the waiters if the earliest due time is now earlier.
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
