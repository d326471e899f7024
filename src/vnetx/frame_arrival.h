// When the frame that a thread of the program has just read came in, as the kernel has stamped it.
//
// The contract's read hands out bytes only. A built-in library that has a stamp leaves it here for the thread
// that reads; of a library in a shared object the program sees none.
#pragma once

#include <cstdint>

namespace vnxtest::frame_arrival {

// State of the calling thread. Any thread; no lock.

// The frame that is handed out now came at this time: nanoseconds since 1970 on the system's clock, 0 if that
// is not known. To be called for every frame by a library that ever calls it.
void Note(std::int64_t unixNs);
// That of this thread's last frame; 0 if it is not known.
std::int64_t OfLastFrame();

} // namespace vnxtest::frame_arrival
