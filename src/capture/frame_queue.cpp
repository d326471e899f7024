#include "capture/frame_queue.h"

#include <cstring>
#include <new>

namespace vnxtest {

namespace {

constexpr std::chrono::milliseconds kMoment(1);
constexpr std::size_t kAlignment = alignof(QueuedFrame);

constexpr std::size_t Aligned(std::size_t size) {
    return (size + kAlignment - 1) & ~(kAlignment - 1);
}

} // namespace

// Not filled: the system gives the memory page by page, as it is used.
FrameQueue::FrameQueue(std::size_t size)
    : m_size(Aligned(size)), m_ring(std::make_unique_for_overwrite<std::uint8_t[]>(m_size)) {}

// A record does not wrap: `gap` bytes at the end of the ring stay unused.
bool FrameQueue::HasRoom(std::size_t room, std::size_t& gap) const {
    const std::uint64_t tail = m_tail.load(std::memory_order_relaxed);
    const std::size_t toEnd = m_size - tail % m_size;
    gap = toEnd < room ? toEnd : 0;
    return tail + gap + room - m_head.load(std::memory_order_acquire) <= m_size;
}

QueuedFrame* FrameQueue::Reserve(const Frame& frame) {
    const std::size_t room = Aligned(sizeof(QueuedFrame) + frame.bytes.size());
    QueuedFrame* queued = nullptr;
    bool isHalfFull = false;
    {
        const std::lock_guard lock(m_reserving);
        std::size_t gap = 0;
        if (!HasRoom(room, gap)) {
            ++m_droppedSince[frame.interface];
            m_droppedOf[frame.interface].fetch_add(1, std::memory_order_relaxed);
            m_dropped.fetch_add(1, std::memory_order_relaxed);
            return nullptr;
        }
        std::uint64_t tail = m_tail.load(std::memory_order_relaxed);
        if (gap >= sizeof(QueuedFrame)) { // a smaller one has no record: the reader knows it by its size
            auto* const filler = new (m_ring.get() + tail % m_size) QueuedFrame;
            filler->room = static_cast<std::uint32_t>(gap);
            filler->state.store(QueuedFrame::State::Gap, std::memory_order_relaxed);
        }
        tail += gap;
        queued = new (m_ring.get() + tail % m_size) QueuedFrame;
        queued->state.store(QueuedFrame::State::Open, std::memory_order_relaxed);
        queued->room = static_cast<std::uint32_t>(room);
        queued->dropped = m_droppedSince[frame.interface];
        m_droppedSince[frame.interface] = 0;
        m_tail.store(tail + room, std::memory_order_seq_cst); // before the look at m_writer in Close()
        isHalfFull = tail + room - m_head.load(std::memory_order_relaxed) > m_size / 2;
    }
    queued->length = static_cast<std::uint32_t>(frame.bytes.size());
    queued->interface = frame.interface;
    queued->direction = frame.direction;
    queued->failure = 0;
    queued->time = frame.time;
    queued->verdict = {};
    std::memcpy(reinterpret_cast<std::uint8_t*>(queued + 1), frame.bytes.data(), frame.bytes.size());
    if (isHalfFull) {
        Wake();
    }
    return queued;
}

void FrameQueue::Close(QueuedFrame* frame) {
    frame->state.store(QueuedFrame::State::Closed, std::memory_order_release);
    if (m_writer.load(std::memory_order_seq_cst) == Writer::Idle) {
        Wake();
    }
}

void FrameQueue::End() {
    const std::lock_guard lock(m_waiting);
    m_ended = true;
    m_wake.notify_all();
}

std::uint64_t FrameQueue::Dropped(std::size_t interface) const {
    return m_droppedOf[interface].load(std::memory_order_relaxed);
}

void FrameQueue::Wake() {
    if (m_writer.exchange(Writer::Busy, std::memory_order_seq_cst) != Writer::Busy) {
        const std::lock_guard lock(m_waiting);
        m_wake.notify_all();
    }
}

QueuedFrame* FrameQueue::Front() {
    while (true) {
        const std::uint64_t head = m_head.load(std::memory_order_relaxed);
        if (head == m_tail.load(std::memory_order_acquire)) {
            return nullptr;
        }
        const std::size_t toEnd = m_size - head % m_size;
        if (toEnd < sizeof(QueuedFrame)) {
            m_head.store(head + toEnd, std::memory_order_release);
            continue;
        }
        auto* const front = std::launder(reinterpret_cast<QueuedFrame*>(m_ring.get() + head % m_size));
        switch (front->state.load(std::memory_order_acquire)) {
        case QueuedFrame::State::Gap:
            m_head.store(head + front->room, std::memory_order_release);
            continue;
        case QueuedFrame::State::Open:
            return nullptr;
        case QueuedFrame::State::Closed:
            return front;
        }
    }
}

void FrameQueue::Pop() {
    const std::uint64_t head = m_head.load(std::memory_order_relaxed);
    const auto* const front = std::launder(reinterpret_cast<QueuedFrame*>(m_ring.get() + head % m_size));
    m_head.store(head + front->room, std::memory_order_release);
}

bool FrameQueue::IsEmpty() const {
    return m_head.load(std::memory_order_relaxed) == m_tail.load(std::memory_order_seq_cst);
}

// Whoever closes a frame wakes the writer only if that is idle, so that under load nobody makes a system call
// for it: it comes by itself after `time`.
bool FrameQueue::Wait(std::chrono::milliseconds time) {
    std::unique_lock lock(m_waiting);
    if (m_ended && !IsEmpty()) {
        m_wake.wait_for(lock, kMoment); // a frame is being written at this moment
        return true;
    }
    m_writer.store(Writer::Gathering, std::memory_order_seq_cst);
    const auto isWoken = [this] { return m_ended || m_writer == Writer::Busy; };
    m_wake.wait_for(lock, time, isWoken);
    if (!isWoken() && IsEmpty()) {
        m_writer.store(Writer::Idle, std::memory_order_seq_cst);
        if (IsEmpty()) {
            m_wake.wait(lock, isWoken);
        }
    }
    m_writer.store(Writer::Busy, std::memory_order_seq_cst);
    return m_ended;
}

} // namespace vnxtest
