// Where a reader waits: the handle's number, the wake-up, and in socket-notify mode the socket.
//
// In normal mode a read waits here, on the driver's own wait object and on a wake-up of ours. In
// socket-notify mode the handle is one end of a connected pair of sockets: a thread of the gate
// waits on the driver instead and makes the socket readable; a read that finds nothing more makes it
// unreadable again. Shutting the handle down (Linux) or closing it (Windows) wakes the waiter for
// good. Handles are unique over both modes.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>

namespace vnxtest {

// What the system waits on for a driver: a descriptor, on Windows an event handle.
using WaitObject = std::intptr_t;

class ReaderGate {
public:
    enum class WaitResult { Ready, TimedOut, Woken, Failed };

    // Null with errno set on failure.
    static std::unique_ptr<ReaderGate> Make(bool socketNotify);
    virtual ~ReaderGate() = default;

    // The number that the program gets as its handle.
    virtual std::int32_t Handle() const = 0;

    // Normal mode, one thread at a time: waits until `object` has something, Wake() is called, or
    // `milliseconds` (negative: no limit) have passed. Failed: errno is the driver's own error.
    virtual WaitResult Wait(WaitObject object, int milliseconds) = 0;
    // Ends the current or the next Wait(). Any thread.
    virtual void Wake() = 0;
    // Like Wake(), but for good.
    virtual void Interrupt() = 0;
    // True after Interrupt(), and in socket-notify mode once the program has shut the socket down.
    virtual bool IsInterrupted() const = 0;

    // Socket-notify mode: begins to watch `object`. About four times a second `health` is asked, on
    // a thread of the gate: what it returns other than 0 makes the socket readable. Returns 0 or an
    // errno value. Does nothing in normal mode.
    virtual int Watch(WaitObject object, std::function<int()> health) = 0;
    // Socket-notify mode, before a read returns 0: the socket becomes unreadable until there is
    // something again; what came in between makes it readable at once. Nothing in normal mode.
    virtual void Rearm() = 0;
    // Ends the watching and waits for the gate's thread: before the driver's object goes away.
    virtual void StopWatching() = 0;
};

} // namespace vnxtest
