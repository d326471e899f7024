#include "vnetx/driver/frame_reader.h"

#include <algorithm>
#include <cerrno>
#include <climits>
#include <thread>

#include "vnetx/failure.h"

namespace vnxtest {
namespace {

// A waiting read checks the adapter's health at least this often.
constexpr int kHealthIntervalMs = 250;
constexpr auto kLeastHealthInterval = std::chrono::milliseconds(100);

int MillisecondsSince(PollPolicy::Clock::time_point start) {
    return static_cast<int>(std::min<std::int64_t>(
        INT_MAX,
        std::chrono::duration_cast<std::chrono::milliseconds>(PollPolicy::Clock::now() - start).count()));
}

// The shorter of two waits; a negative one has no limit.
int ShorterWait(int left, int right) {
    if (left < 0 || right < 0) {
        return std::max(left, right);
    }
    return std::min(left, right);
}

} // namespace

std::unique_lock<std::mutex> FrameReader::Pause() {
    m_pause.store(true);
    m_state.gate->Wake();
    std::unique_lock lock(m_mutex);
    m_pause.store(false);
    return lock;
}

std::int32_t FrameReader::Read(std::span<std::uint8_t> buffer) {
    reading_thread::Begin(m_state.reader);
    const std::lock_guard lock(m_mutex);
    m_state.counters.reading.calls.Add();
    if (m_state.gate->IsInterrupted()) {
        return m_state.socketNotify ? 0 : Fail(EBADF);
    }
    if (!m_state.settings.IsUp()) {
        return Fail(ENETDOWN);
    }
    const std::int32_t result = m_driver.TakeFrame(buffer);
    if (result == 0) {
        return WaitForFrame(buffer);
    }
    if (m_state.socketNotify && result > 0) {
        m_policy.FrameAfterPause();
    }
    return result;
}

// Rate-limited: the query costs more than an echo.
int FrameReader::HealthOnceInAWhile(Clock::time_point now) {
    if (now - m_lastHealthCheck < kLeastHealthInterval) {
        return 0;
    }
    m_lastHealthCheck = now;
    return m_driver.Health();
}

std::int32_t FrameReader::WaitForFrame(std::span<std::uint8_t> buffer) {
    const auto start = Clock::now();
    if (const std::int32_t result = Spin(buffer, start); result != 0) {
        return result;
    }
    if (m_state.socketNotify) {
        return EndRead(start);
    }
    if (const int code = HealthOnceInAWhile(start); code != 0) {
        return Fail(code);
    }
    return Block(buffer, start);
}

// A look costs less than reading the clock, so that there are several for each reading.
std::int32_t FrameReader::Spin(std::span<std::uint8_t> buffer, Clock::time_point start) {
    constexpr int kLooks = 16;
    constexpr auto kTaken = std::chrono::microseconds(200); // far more than the looks take
    const auto budget = m_policy.Budget(start);
    for (auto waited = Clock::duration::zero(); waited < budget;) {
        for (int look = 0; look < kLooks; ++look) {
            if (m_state.gate->IsInterrupted() || m_pause.load(std::memory_order_relaxed)) {
                return 0;
            }
            if (const std::int32_t result = m_driver.TakeFrame(buffer); result != 0) {
                m_policy.FrameAfter(waited);
                return result;
            }
        }
        std::this_thread::yield(); // to whoever has work on this processor, the other side perhaps
        const auto now = Clock::now();
        if (now - start - waited > kTaken) {
            m_policy.ProcessorWasTaken(now);
        }
        waited = now - start;
    }
    return 0;
}

// Socket-notify mode: the program waits at the socket.
std::int32_t FrameReader::EndRead(Clock::time_point start) {
    m_driver.DoTimedWork();
    if (const int code = HealthOnceInAWhile(start); code != 0) {
        return Fail(code);
    }
    m_policy.PauseBegins(start);
    m_state.gate->Rearm();
    return 0;
}

std::int32_t FrameReader::Block(std::span<std::uint8_t> buffer, Clock::time_point start) {
    const std::uint32_t timeout = m_state.settings.timeout.load(std::memory_order_relaxed);
    while (!m_pause.load()) {
        switch (m_state.gate->Wait(m_driver.FrameWaitObject(), NextWait(start, timeout))) {
        case ReaderGate::WaitResult::Ready:
            if (const std::int32_t result = m_driver.TakeFrame(buffer); result != 0) {
                m_policy.FrameAfter(Clock::now() - start);
                return result;
            }
            break;
        case ReaderGate::WaitResult::Failed:
            return Fail(WhyWaitFailed());
        case ReaderGate::WaitResult::Woken:
            if (m_state.gate->IsInterrupted()) {
                return Fail(EBADF);
            }
            break;
        case ReaderGate::WaitResult::TimedOut:
            if (const int code = HealthOnceInAWhile(Clock::now()); code != 0) {
                return Fail(code);
            }
            break;
        }
        if (timeout != 0 && MillisecondsSince(start) >= static_cast<int>(timeout)) {
            m_policy.NoFrame();
            return 0;
        }
    }
    return 0;
}

// Milliseconds until the read's time-out, the health check or the driver's timed work is due.
int FrameReader::NextWait(Clock::time_point start, std::uint32_t timeout) {
    const int left = timeout == 0 ? kHealthIntervalMs : static_cast<int>(timeout) - MillisecondsSince(start);
    return ShorterWait(ShorterWait(std::max(left, 0), kHealthIntervalMs), m_driver.DoTimedWork());
}

int FrameReader::WhyWaitFailed() {
    const int code = errno;
    const int health = m_driver.Health();
    return health != 0 ? health : code;
}

} // namespace vnxtest
