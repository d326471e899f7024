// What a thread of the program has read last: how a library knows who must not be made to wait, and
// whom he is about to answer.
//
// A thread that reads frames answers them, too. While it waited for a neighbour's MAC, everybody
// else's frames would wait with it, so a library never lets it. What it most often asks for it has
// just been given: the sender's addresses stand in the frame. They are good for the answer to that one
// frame and are kept nowhere else, so that a forged frame misleads nobody but its own answer.
#pragma once

#include <cstdint>
#include <optional>

#include "wrenlib/address.h"

namespace vnxtest {

// Of the calling thread, each of them. Any thread.
namespace reading_thread {

// A number for an open interface that none had before it.
std::uint64_t NewReader();

// This thread begins to read from interface `reader`; what it read before is answered by now.
void Begin(std::uint64_t reader);
// The frame that is handed out now is IPv4 and came from this station. A MAC that is no single
// station's is not taken.
void NoteSender(Ipv4Address address, MacAddress mac);

// True when this thread has ever read: it must not wait.
bool IsOne();
// The MAC from which the last frame came that this thread read from interface `reader`, when
// `address` was its sender.
std::optional<MacAddress> SenderOf(std::uint64_t reader, Ipv4Address address);

} // namespace reading_thread

} // namespace vnxtest
