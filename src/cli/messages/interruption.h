// Whether the user wants the program to stop, and since when: seen by whoever waits for messages. Main
// thread.
#pragma once

#include <optional>

#include "cli/messages/message_queue.h"

namespace vnxtest {

class Interruption {
public:
    using Moment = MessageQueue::Moment;

    explicit Interruption(MessageQueue& queue) : m_queue(queue) {}

    // Waits for what comes first, as the queue does; an interrupt is noted.
    TerminalMessage Wait(std::optional<Moment> deadline);

    // One was noted.
    bool IsNoted() const { return m_noted; }
    // When; only of one that was noted.
    Moment Since() const { return m_since; }
    // The same, and looks for one that waits, before all messages.
    bool HasCome();

private:
    MessageQueue& m_queue;
    bool m_noted = false;
    Moment m_since{};
};

} // namespace vnxtest
