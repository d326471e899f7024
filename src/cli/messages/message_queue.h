// The queue on which the terminal program's main thread waits.
#pragma once

#include <chrono>
#include <condition_variable>
#include <deque>
#include <mutex>
#include <optional>

#include "core/view_port.h"

namespace vnxtest {

enum class TerminalEvent {
    Message,     // a message of the engine, in the order of posting
    Asked,       // the user wants to know how it stands
    Interrupted, // the user wants the program to stop
    TimedOut,    // the deadline has passed
};

struct TerminalMessage {
    TerminalEvent event = TerminalEvent::TimedOut;
    ViewMessage message = ViewMessage::OutputPending; // of TerminalEvent::Message
};

class MessageQueue {
public:
    using Moment = std::chrono::steady_clock::time_point;

    // Any thread. No message is lost or merged.
    void Post(ViewMessage message);
    // Any thread. Reported once, before waiting messages.
    void PostInterrupt();
    // Any thread. Several are reported once; before waiting messages, after an interrupt.
    void PostQuestion();

    // Waits for the first event; nullopt: without limit. Main thread.
    TerminalMessage Wait(std::optional<Moment> deadline);

private:
    std::mutex m_lock;
    std::condition_variable m_arrived;
    std::deque<ViewMessage> m_messages;
    bool m_interrupted = false;
    bool m_asked = false;
};

} // namespace vnxtest
