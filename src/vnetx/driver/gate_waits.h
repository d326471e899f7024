// What a reader's gate waits with on this system: one source a platform. For reader_gate.cpp alone.
#pragma once

#include <cstdint>
#include <memory>

#include "vnetx/driver/notify_socket.h"
#include "vnetx/driver/reader_gate.h"

namespace vnxtest {

// Normal mode: an event beside the driver's wait object.
class WakeEvent {
public:
    // Null with errno set on failure.
    static std::unique_ptr<WakeEvent> Make();
    virtual ~WakeEvent() = default;

    // The number of the gate's handle: no other event and no socket has it.
    virtual std::int32_t Handle() const = 0;
    // As ReaderGate::Wait() and ReaderGate::Wake().
    virtual ReaderGate::WaitResult Wait(WaitObject object, int milliseconds) = 0;
    virtual void Wake() = 0;
};

// Socket-notify mode: what the gate's thread waits for. Await() is for that thread, Rearm() for the reader,
// Stop() for any.
class DriverWatch {
public:
    enum class Seen {
        Frame,   // the driver has one; it is not asked again before Rearm()
        Rearmed, // it is asked again from now on
        Nothing, // the time is over
        End,     // Stop() was called, or the program has shut its socket down or closed it
    };

    // Null with errno set on failure.
    static std::unique_ptr<DriverWatch> Make();
    virtual ~DriverWatch() = default;

    // Begins, before the thread does. 0 or an errno value.
    virtual int Begin(WaitObject object, const NotifySocket& socket) = 0;
    // `signalled`: the program's socket is readable, so the driver need not be asked before Rearm().
    virtual Seen Await(bool signalled, int milliseconds) = 0;
    virtual void Rearm() = 0;
    virtual void Stop() = 0; // for good
};

} // namespace vnxtest
