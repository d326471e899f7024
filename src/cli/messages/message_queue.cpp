#include "cli/messages/message_queue.h"

namespace vnxtest {

void MessageQueue::Post(ViewMessage message) {
    {
        const std::lock_guard lock(m_lock);
        m_messages.push_back(message);
    }
    m_arrived.notify_one();
}

void MessageQueue::PostInterrupt() {
    {
        const std::lock_guard lock(m_lock);
        m_interrupted = true;
    }
    m_arrived.notify_one();
}

void MessageQueue::PostQuestion() {
    {
        const std::lock_guard lock(m_lock);
        m_asked = true;
    }
    m_arrived.notify_one();
}

TerminalMessage MessageQueue::Wait(std::optional<Moment> deadline) {
    std::unique_lock lock(m_lock);
    const auto arrived = [this] { return m_interrupted || m_asked || !m_messages.empty(); };
    if (!deadline) {
        m_arrived.wait(lock, arrived);
    } else if (std::chrono::steady_clock::now() >= *deadline ||
               !m_arrived.wait_until(lock, *deadline, arrived)) {
        // A passed deadline is reported even while messages keep arriving.
        if (!m_interrupted) {
            return {TerminalEvent::TimedOut};
        }
    }
    if (m_interrupted) {
        m_interrupted = false;
        return {TerminalEvent::Interrupted};
    }
    if (m_asked) {
        m_asked = false;
        return {TerminalEvent::Asked};
    }
    const ViewMessage message = m_messages.front();
    m_messages.pop_front();
    return {TerminalEvent::Message, message};
}

} // namespace vnxtest
