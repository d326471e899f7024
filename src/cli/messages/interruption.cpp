#include "cli/messages/interruption.h"

namespace vnxtest {

TerminalMessage Interruption::Wait(std::optional<Moment> deadline) {
    const TerminalMessage next = m_queue.Wait(deadline);
    if (next.event == TerminalEvent::Interrupted) {
        m_noted = true;
        m_since = std::chrono::steady_clock::now();
    }
    return next;
}

bool Interruption::HasCome() {
    if (!m_noted) {
        Wait(Moment::min());
    }
    return m_noted;
}

} // namespace vnxtest
