#include "vnetx/driver/reader_gate.h"

#include <atomic>
#include <cerrno>
#include <system_error>
#include <thread>
#include <utility>

#include "vnetx/driver/gate_waits.h"

namespace vnxtest {
namespace {

constexpr int kHealthIntervalMs = 250;

// Normal mode.
class EventGate final : public ReaderGate {
public:
    explicit EventGate(std::unique_ptr<WakeEvent> event) : m_event(std::move(event)) {}

    std::int32_t Handle() const override { return m_event->Handle(); }
    WaitResult Wait(WaitObject object, int milliseconds) override {
        return m_event->Wait(object, milliseconds);
    }
    void Wake() override { m_event->Wake(); }
    void Interrupt() override {
        m_interrupted.store(true);
        Wake();
    }
    bool IsInterrupted() const override { return m_interrupted.load(std::memory_order_relaxed); }
    int Watch(WaitObject, std::function<int()>) override { return 0; }
    void Rearm() override {}
    void StopWatching() override {}

private:
    const std::unique_ptr<WakeEvent> m_event;
    std::atomic<bool> m_interrupted{false};
};

// Socket-notify mode.
class SocketGate final : public ReaderGate {
public:
    SocketGate(std::unique_ptr<NotifySocket> socket, std::unique_ptr<DriverWatch> watch)
        : m_socket(std::move(socket)), m_watch(std::move(watch)) {}
    ~SocketGate() override { StopWatching(); }

    std::int32_t Handle() const override { return m_socket->Handle(); }
    WaitResult Wait(WaitObject, int) override {
        errno = EINVAL; // reads never wait in this mode
        return WaitResult::Failed;
    }
    void Wake() override {}
    void Interrupt() override {
        m_interrupted.store(true);
        m_watch->Stop();
    }
    bool IsInterrupted() const override { return m_interrupted.load(std::memory_order_relaxed); }

    int Watch(WaitObject object, std::function<int()> health) override {
        m_health = std::move(health);
        if (const int code = m_watch->Begin(object, *m_socket); code != 0) {
            return code;
        }
        try {
            m_thread = std::thread([this] { Run(); });
        } catch (const std::system_error& error) {
            return error.code().value();
        }
        return 0;
    }

    void Rearm() override {
        if (m_signalled.load()) {
            m_signalled.store(false);
            m_socket->Lower();
            m_watch->Rearm();
        }
    }

    void StopWatching() override {
        if (m_thread.joinable()) {
            m_watch->Stop();
            m_thread.join();
        }
    }

private:
    // The byte first, the flag second: a Rearm() in between leaves the byte, and the reader is woken once
    // more. The other order would take back a byte that is not there yet.
    void Signal() {
        if (!m_signalled.load()) {
            m_socket->Raise();
            m_signalled.store(true);
        }
    }

    void Run() {
        for (;;) {
            switch (m_watch->Await(m_signalled.load(), kHealthIntervalMs)) {
            case DriverWatch::Seen::Frame:
                Signal();
                break;
            case DriverWatch::Seen::Rearmed:
                break;
            case DriverWatch::Seen::Nothing:
                if (m_health() != 0) {
                    Signal();
                }
                break;
            case DriverWatch::Seen::End:
                m_interrupted.store(true);
                return;
            }
        }
    }

    const std::unique_ptr<NotifySocket> m_socket;
    const std::unique_ptr<DriverWatch> m_watch;
    std::function<int()> m_health;
    std::atomic<bool> m_signalled{false};
    std::atomic<bool> m_interrupted{false};
    std::thread m_thread;
};

} // namespace

std::unique_ptr<ReaderGate> ReaderGate::Make(bool socketNotify) {
    if (!socketNotify) {
        std::unique_ptr<WakeEvent> event = WakeEvent::Make();
        return event ? std::make_unique<EventGate>(std::move(event)) : nullptr;
    }
    std::unique_ptr<NotifySocket> socket = NotifySocket::Create();
    std::unique_ptr<DriverWatch> watch = socket ? DriverWatch::Make() : nullptr;
    return watch ? std::make_unique<SocketGate>(std::move(socket), std::move(watch)) : nullptr;
}

} // namespace vnxtest
