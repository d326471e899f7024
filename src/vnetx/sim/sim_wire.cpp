#include "vnetx/sim/sim_wire.h"

#include <algorithm>
#include <functional>

namespace vnxtest {

namespace {

// A larger buffer is freed while there are plenty of others.
constexpr std::size_t kKeptCapacity = 4096;
constexpr std::size_t kPlenty = 256;

} // namespace

void SimWire::Put(std::span<const std::uint8_t> head, std::span<const std::uint8_t> body,
                  Clock::time_point due, SimFrameTag tag, bool holdBack) {
    const std::lock_guard lock(m_mutex);
    const std::uint32_t slot = TakeFreeSlot();
    SimFrame& frame = m_slots[slot];
    frame.tag = tag;
    frame.bytes.assign(head.begin(), head.end());
    frame.bytes.insert(frame.bytes.end(), body.begin(), body.end());
    m_bytes += frame.bytes.size();
    if (holdBack) {
        if (m_held) {
            Push(*m_held);
        }
        m_held = Key{due + kReorderHold, m_nextOrder++, slot};
    } else {
        Push({due, m_nextOrder++, slot});
        if (m_held && tag != SimFrameTag::Tick) {
            // After the frame that overtakes it, but not before its own time.
            Push({std::min(m_held->due, std::max(m_held->due - kReorderHold, due)), m_nextOrder++,
                  m_held->slot});
            m_held.reset();
        }
    }
    Publish();
}

bool SimWire::IsFull() const {
    const std::lock_guard lock(m_mutex);
    return m_bytes >= kMaximumBytes;
}

SimWire::Collected SimWire::Collect(Clock::time_point now, std::size_t maximumBytes,
                                    std::vector<SimFrame>& batch) {
    const std::lock_guard lock(m_mutex);
    Collected taken;
    while (const Key* next = NextDue(now)) {
        const std::uint32_t slot = next->slot;
        const std::size_t size = m_slots[slot].bytes.size();
        if (taken.frames > 0 && taken.bytes + size > maximumBytes) {
            break;
        }
        Pop(next);
        if (taken.frames == batch.size()) {
            batch.emplace_back();
        }
        std::swap(batch[taken.frames], m_slots[slot]);
        std::vector<std::uint8_t>& former = m_slots[slot].bytes;
        if (former.capacity() > kKeptCapacity && m_freeSlots.size() > kPlenty) {
            std::vector<std::uint8_t>().swap(former);
        }
        m_freeSlots.push_back(slot);
        taken.bytes += size;
        ++taken.frames;
    }
    m_bytes -= taken.bytes;
    Publish();
    return taken;
}

void SimWire::Clear() {
    const std::lock_guard lock(m_mutex);
    // Frees the memory, too: the port of a closed interface stays for its counters.
    std::vector<Key>().swap(m_heap);
    std::vector<SimFrame>().swap(m_slots);
    std::vector<std::uint32_t>().swap(m_freeSlots);
    m_held.reset();
    m_bytes = 0;
    Publish();
}

SimWire::WaitResult SimWire::Wait(std::optional<Clock::time_point> limit) {
    std::unique_lock lock(m_mutex);
    while (true) {
        if (m_woken) {
            m_woken = false;
            return WaitResult::Woken;
        }
        const auto now = Clock::now();
        const auto earliest = Earliest();
        if (earliest <= now) {
            return WaitResult::Ready;
        }
        if (limit && now >= *limit) {
            return WaitResult::TimedOut;
        }
        ++m_waiting;
        const auto until = limit ? std::min(*limit, earliest) : earliest;
        if (until == Clock::time_point::max()) {
            m_changed.wait(lock);
        } else {
            m_changed.wait_until(lock, until);
        }
        --m_waiting;
    }
}

void SimWire::Wake() {
    {
        const std::lock_guard lock(m_mutex);
        m_woken = true;
    }
    m_changed.notify_all();
}

void SimWire::SetSocket(NotifySocket* socket) {
    {
        const std::lock_guard lock(m_mutex);
        m_socket = socket;
        m_raised = false;
        if (m_socket && Earliest() <= Clock::now()) {
            Raise();
        }
    }
    m_changed.notify_all();
}

void SimWire::AwaitLater() {
    std::unique_lock lock(m_mutex);
    ++m_waiting;
    while (m_socket) {
        const auto earliest = Earliest();
        if (m_raised || earliest == Clock::time_point::max()) {
            m_changed.wait(lock);
        } else if (earliest <= Clock::now()) {
            Raise();
        } else {
            m_changed.wait_until(lock, earliest);
        }
    }
    --m_waiting;
}

void SimWire::Rearm() {
    {
        const std::lock_guard lock(m_mutex);
        if (!m_socket || !m_raised) {
            return;
        }
        m_socket->Lower();
        m_raised = false;
        const auto earliest = Earliest();
        if (earliest <= Clock::now()) {
            Raise();
            return;
        }
        if (earliest == Clock::time_point::max()) {
            return;
        }
    }
    m_changed.notify_all();
}

std::uint32_t SimWire::TakeFreeSlot() {
    if (m_freeSlots.empty()) {
        m_slots.emplace_back();
        return static_cast<std::uint32_t>(m_slots.size() - 1);
    }
    const std::uint32_t slot = m_freeSlots.back();
    m_freeSlots.pop_back();
    return slot;
}

void SimWire::Push(const Key& key) {
    m_heap.push_back(key);
    std::push_heap(m_heap.begin(), m_heap.end(), std::greater<>());
}

const SimWire::Key* SimWire::NextDue(Clock::time_point now) const {
    const Key* next = m_heap.empty() ? nullptr : &m_heap.front();
    if (m_held && (!next || *next > *m_held)) {
        next = &*m_held;
    }
    return next && next->due <= now ? next : nullptr;
}

void SimWire::Pop(const Key* next) {
    if (m_held && next == &*m_held) {
        m_held.reset();
        return;
    }
    std::pop_heap(m_heap.begin(), m_heap.end(), std::greater<>());
    m_heap.pop_back();
}

SimWire::Clock::time_point SimWire::Earliest() const {
    const auto inHeap = m_heap.empty() ? Clock::time_point::max() : m_heap.front().due;
    return m_held ? std::min(inHeap, m_held->due) : inHeap;
}

void SimWire::Publish() {
    const auto earliest = Earliest();
    const Clock::rep moment = earliest.time_since_epoch().count();
    const bool earlier = moment < m_earliest.load(std::memory_order_relaxed);
    m_earliest.store(moment, std::memory_order_release);
    if (!earlier) {
        return;
    }
    if (m_socket && !m_raised && earliest <= Clock::now()) {
        Raise();
    }
    if (m_waiting > 0) {
        m_changed.notify_all();
    }
}

void SimWire::Raise() {
    m_socket->Raise();
    m_raised = true;
}

} // namespace vnxtest
