// Whether the user wants the program to stop, and since when, noted while waiting for messages. Main
// thread.
#pragma once

#include <optional>

#include "cli/messages/message_queue.h"

namespace vnxtest {

class Interruption {
public:
    using Moment = MessageQueue::Moment;

    explicit Interruption(MessageQueue& queue) : m_queue(queue) {}

    // Waits as MessageQueue::Wait; notes an interrupt.
    TerminalMessage Wait(std::optional<Moment> deadline);

    // True if one was noted.
    bool IsNoted() const { return m_noted; }
    // When; only if IsNoted().
    Moment Since() const { return m_since; }
    // True if one was noted or is waiting; takes it from the queue, before all messages.
    bool HasCome();

private:
    MessageQueue& m_queue;
    bool m_noted = false;
    Moment m_since{};
};

} // namespace vnxtest
