// The reading side of an open interface: one reader at a time takes frames from the driver and waits for
// them.
#pragma once

#include <chrono>
#include <cstdint>
#include <mutex>
#include <span>

#include "vnetx/driver/driver.h"
#include "vnetx/driver/poll_policy.h"

namespace vnxtest {

class FrameReader {
public:
    // Both outlive it.
    FrameReader(InterfaceState& state, Driver& driver) : m_state(state), m_driver(driver) {}

    // The next frame: its length, 0 if none came in time, -1 with errno. Any thread; further readers wait
    // for the lock.
    std::int32_t Read(std::span<std::uint8_t> buffer);
    // Makes a waiting reader return and keeps readers out while the lock is held. Any thread.
    std::unique_lock<std::mutex> Pause();

private:
    using Clock = PollPolicy::Clock;

    std::int32_t WaitForFrame(std::span<std::uint8_t> buffer);
    std::int32_t Spin(std::span<std::uint8_t> buffer, Clock::time_point start);
    std::int32_t EndRead(Clock::time_point start);
    std::int32_t Block(std::span<std::uint8_t> buffer, Clock::time_point start);
    int NextWait(Clock::time_point start, std::uint32_t timeout);
    int WhyWaitFailed();
    int HealthOnceInAWhile(Clock::time_point now);

    InterfaceState& m_state;
    Driver& m_driver;
    std::mutex m_mutex;
    std::atomic<bool> m_pause{false};
    PollPolicy m_policy;
    Clock::time_point m_lastHealthCheck{};
};

} // namespace vnxtest
