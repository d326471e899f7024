// The engine's interface to the user-interface thread: posting a message.
//
// The window implements it with its toolkit's events, the terminal program with a blocking queue
// on its main thread. The engine knows no more of either.
#pragma once

namespace vnxtest {

// The private messages to the view. None carries parameters.
enum class ViewMessage {
    OutputPending,       // lines wait in the output channel
    InterfaceOpened,     // a monitor thread has its interface open and reads from it
    MonitorThreadEnded,  // a monitor thread has ended: stop the guest
    PingThreadEnded,     // the ping send thread has ended
    PingWaitThreadEnded, // the ping wait thread has ended
};

class ViewPort {
public:
    virtual ~ViewPort() = default;

    // Queues `message` for the user-interface thread and returns at once. Any thread. Dropped if the view
    // is gone.
    virtual void PostViewMessage(ViewMessage message) = 0;
};

} // namespace vnxtest
