// The last frame that a thread of the program has read: which threads must not wait, and the station that
// such a thread is about to answer.
//
// A thread that reads frames answers them, too. If it waited for a neighbour's MAC, all other frames would
// wait with it, so a library never makes it wait. The MAC that it needs most often has just come: the
// sender's, in the frame. It is used for the answer to that one frame and kept nowhere else, so that a
// forged frame misdirects its own answer only.
#pragma once

#include <cstdint>
#include <optional>

#include "wrenlib/address.h"

namespace vnxtest {

// Thread-local state of the calling thread. Any thread; no lock.
namespace reading_thread {

// A number for an open interface, never given before.
std::uint64_t NewReader();

// This thread begins to read from interface `reader`; the sender of its last frame is forgotten.
void Begin(std::uint64_t reader);
// The frame that is handed out now is IPv4 and came from this station. A zero or group MAC is ignored.
void NoteSender(Ipv4Address address, MacAddress mac);

// True if this thread has ever read: it must not wait.
bool IsOne();
// The source MAC of this thread's last frame, if it was read from interface `reader` and sent by `address`;
// else nullopt.
std::optional<MacAddress> SenderOf(std::uint64_t reader, Ipv4Address address);

} // namespace reading_thread

} // namespace vnxtest
