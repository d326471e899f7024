// Waiting for an atomic number to change, by the system's own call.
//
// std::atomic has both, but where the standard library does not use such a call (Windows) its wait can miss
// a notification that comes just before it.
#pragma once

#include <atomic>
#include <cstdint>

namespace vnxtest {

// Waits while `number` is `value`; may return early. Any thread.
void WaitWhile(const std::atomic<std::uint32_t>& number, std::uint32_t value);

// Ends all waits on `number`; call it after the change. Any thread.
void WakeAllWaiting(std::atomic<std::uint32_t>& number);

} // namespace vnxtest
