// Waiting for an atomic number to change, by the system's own means.
//
// std::atomic has these, but where the standard library knows no such call of the system (Windows) its wait
// can miss the notification that comes just before it.
#pragma once

#include <atomic>
#include <cstdint>

namespace vnxtest {

// Waits while `number` is `value`; may return earlier. Any thread.
void WaitWhile(const std::atomic<std::uint32_t>& number, std::uint32_t value);

// Ends all waits on `number`, which was changed before.
void WakeAllWaiting(std::atomic<std::uint32_t>& number);

} // namespace vnxtest
