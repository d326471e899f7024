#include "wrenlib/wait.h"

namespace vnxtest {

using Clock = std::chrono::steady_clock;

void ManualResetEvent::Set() {
    if (m_set.load(std::memory_order_acquire)) {
        return;
    }
    {
        const std::lock_guard lock(m_domain.m_mutex);
        m_set.store(true, std::memory_order_release);
    }
    m_domain.m_changed.notify_all();
}

void ManualResetEvent::Reset() {
    const std::lock_guard lock(m_domain.m_mutex);
    m_set.store(false, std::memory_order_release);
}

bool ManualResetEvent::WaitFor(std::uint32_t milliseconds) const {
    if (milliseconds == 0 || IsSet()) {
        return IsSet();
    }
    const auto due = Clock::now() + std::chrono::milliseconds(milliseconds);
    std::unique_lock lock(m_domain.m_mutex);
    return m_domain.m_changed.wait_until(lock, due, [this] { return IsSet(); });
}

void WaitableTimer::Arm(std::uint32_t milliseconds) {
    {
        const std::lock_guard lock(m_domain.m_mutex);
        m_due = Clock::now() + std::chrono::milliseconds(milliseconds);
    }
    m_domain.m_changed.notify_all();
}

void WaitableTimer::Cancel() {
    const std::lock_guard lock(m_domain.m_mutex);
    m_due.reset();
}

int WaitForAny(WaitDomain& domain, std::initializer_list<const Waitable*> objects) {
    std::unique_lock lock(domain.m_mutex);
    while (true) {
        const auto now = Clock::now();
        std::optional<Clock::time_point> due;
        int index = 0;
        for (const Waitable* object : objects) {
            if (object->IsSignalled(now)) {
                return index;
            }
            const auto own = object->DueTime();
            if (own && (!due || *own < *due)) {
                due = own;
            }
            ++index;
        }
        if (due) {
            domain.m_changed.wait_until(lock, *due);
        } else {
            domain.m_changed.wait(lock);
        }
    }
}

} // namespace vnxtest
