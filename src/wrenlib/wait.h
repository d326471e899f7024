// Manual-reset events and a one-shot timer that one thread can wait for together.
//
// Objects to be waited for together share a WaitDomain. An event without a waiter costs no system call.
#pragma once

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <initializer_list>
#include <mutex>
#include <optional>

namespace vnxtest {

// The lock and the wake-up that the events and the timer of one group share. Must outlive them.
class WaitDomain {
public:
    WaitDomain() = default;
    WaitDomain(const WaitDomain&) = delete;
    WaitDomain& operator=(const WaitDomain&) = delete;

private:
    friend class ManualResetEvent;
    friend class WaitableTimer;
    friend int WaitForAny(WaitDomain&, std::initializer_list<const class Waitable*>);
    std::mutex m_mutex;
    std::condition_variable m_changed;
};

// What a thread can wait for.
class Waitable {
public:
    virtual ~Waitable() = default;

protected:
    friend int WaitForAny(WaitDomain&, std::initializer_list<const Waitable*>);
    // Under the domain's lock: signalled now?
    virtual bool IsSignalled(std::chrono::steady_clock::time_point now) const = 0;
    // Under the domain's lock: the moment at which it becomes signalled by itself, if it does.
    virtual std::optional<std::chrono::steady_clock::time_point> DueTime() const = 0;
};

// A manual-reset event: signalled from Set() until Reset(). Any thread.
class ManualResetEvent final : public Waitable {
public:
    explicit ManualResetEvent(WaitDomain& domain) : m_domain(domain) {}

    void Set();
    void Reset();
    bool IsSet() const { return m_set.load(std::memory_order_acquire); }
    // Waits until it is set, at most `milliseconds` (0: does not wait). True if it is set.
    bool WaitFor(std::uint32_t milliseconds) const;

private:
    bool IsSignalled(std::chrono::steady_clock::time_point) const override { return IsSet(); }
    std::optional<std::chrono::steady_clock::time_point> DueTime() const override { return std::nullopt; }

    WaitDomain& m_domain;
    std::atomic<bool> m_set{false};
};

// A one-shot timer: signalled from its due time until it is armed again or cancelled. Any thread.
class WaitableTimer final : public Waitable {
public:
    explicit WaitableTimer(WaitDomain& domain) : m_domain(domain) {}

    void Arm(std::uint32_t milliseconds);
    void Cancel();

private:
    bool IsSignalled(std::chrono::steady_clock::time_point now) const override {
        return m_due && now >= *m_due;
    }
    std::optional<std::chrono::steady_clock::time_point> DueTime() const override { return m_due; }

    WaitDomain& m_domain;
    std::optional<std::chrono::steady_clock::time_point> m_due;
};

// Waits without limit until one of `objects` (all of this domain) is signalled and returns the
// index of the first that is, in the order given.
int WaitForAny(WaitDomain& domain, std::initializer_list<const Waitable*> objects);

} // namespace vnxtest
