// Where a reader waits: the handle's number, the wake-up, and in socket-notify mode the socket.
//
// In normal mode a read waits here, on the driver's wait object and on a wake-up event. In socket-notify
// mode the handle is one end of a connected pair of sockets: a thread of the gate waits on the driver and
// makes the socket readable; a read that finds no more frames makes it unreadable again. Shutting the
// handle down (Linux) or closing it (Windows) wakes the waiter for good. Handles are unique over both
// modes.
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

    // Normal mode, one thread at a time: waits until `object` is ready, Wake() is called, or `milliseconds`
    // (negative: no limit) have passed. Failed: errno is set, on Linux to the object's own error.
    virtual WaitResult Wait(WaitObject object, int milliseconds) = 0;
    // Normal mode: ends the current or the next Wait(). Any thread.
    virtual void Wake() = 0;
    // Like Wake(), but for good.
    virtual void Interrupt() = 0;
    // True after Interrupt(), and in socket-notify mode once the program has shut the socket down.
    virtual bool IsInterrupted() const = 0;

    // Socket-notify mode: starts the gate's thread, which waits on `object`. After each 250 ms without a
    // frame it calls `health`; a result other than 0 makes the socket readable. Returns 0 or an errno
    // value. Nothing in normal mode.
    virtual int Watch(WaitObject object, std::function<int()> health) = 0;
    // Socket-notify mode, before a read returns 0: the socket becomes unreadable until there is a frame;
    // one that came in between makes it readable at once. Nothing in normal mode.
    virtual void Rearm() = 0;
    // Ends the gate's thread and joins it; called before the driver's wait object goes away.
    virtual void StopWatching() = 0;
};

} // namespace vnxtest
