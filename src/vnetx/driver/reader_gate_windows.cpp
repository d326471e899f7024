#include "vnetx/driver/reader_gate.h"

#include <atomic>
#include <cerrno>
#include <system_error>
#include <thread>
#include <utility>

#include <winsock2.h>

#include <windows.h>

#include "vnetx/driver/notify_socket.h"

namespace vnxtest {
namespace {

constexpr DWORD kHealthIntervalMs = 250;

// A Windows event that closes itself.
class Event {
public:
    explicit Event(bool manualReset) : m_handle(CreateEventW(nullptr, manualReset, FALSE, nullptr)) {}
    ~Event() {
        if (m_handle) {
            CloseHandle(m_handle);
        }
    }
    Event(const Event&) = delete;
    Event& operator=(const Event&) = delete;
    explicit operator bool() const { return m_handle != nullptr; }
    HANDLE Get() const { return m_handle; }
    void Set() const { SetEvent(m_handle); }

private:
    HANDLE m_handle;
};

HANDLE HandleOf(WaitObject object) {
    return reinterpret_cast<HANDLE>(object);
}

// Normal mode. Sockets have even numbers (multiples of four), so odd ones are never theirs.
class EventGate final : public ReaderGate {
public:
    EventGate() : m_handle(NextHandle()) {}

    bool IsGood() const { return static_cast<bool>(m_wake); }
    std::int32_t Handle() const override { return m_handle; }

    WaitResult Wait(WaitObject object, int milliseconds) override {
        const HANDLE objects[] = {m_wake.Get(), HandleOf(object)};
        const DWORD limit = milliseconds < 0 ? INFINITE : static_cast<DWORD>(milliseconds);
        switch (WaitForMultipleObjects(2, objects, FALSE, limit)) {
        case WAIT_OBJECT_0:
            return WaitResult::Woken;
        case WAIT_OBJECT_0 + 1:
            return WaitResult::Ready;
        case WAIT_TIMEOUT:
            return WaitResult::TimedOut;
        default:
            errno = EIO;
            return WaitResult::Failed;
        }
    }
    void Wake() override { m_wake.Set(); }
    void Interrupt() override {
        m_interrupted.store(true);
        Wake();
    }
    bool IsInterrupted() const override { return m_interrupted.load(std::memory_order_relaxed); }
    int Watch(WaitObject, std::function<int()>) override { return 0; }
    void Rearm() override {}
    void StopWatching() override {}

private:
    static std::int32_t NextHandle() {
        static std::atomic<std::int32_t> next{1};
        return next.fetch_add(2);
    }

    const std::int32_t m_handle;
    Event m_wake{false};
    std::atomic<bool> m_interrupted{false};
};

// Socket-notify mode.
class SocketGate final : public ReaderGate {
public:
    explicit SocketGate(std::unique_ptr<NotifySocket> socket) : m_socket(std::move(socket)) {}
    ~SocketGate() override { StopWatching(); }

    bool IsGood() const { return m_socket && m_stop && m_armed && m_closed; }
    std::int32_t Handle() const override { return m_socket->Handle(); }
    WaitResult Wait(WaitObject, int) override {
        errno = EINVAL; // reads never wait in this mode
        return WaitResult::Failed;
    }
    void Wake() override {}
    void Interrupt() override {
        m_interrupted.store(true);
        m_stop.Set();
    }
    bool IsInterrupted() const override { return m_interrupted.load(std::memory_order_relaxed); }

    int Watch(WaitObject object, std::function<int()> health) override {
        m_object = HandleOf(object);
        m_health = std::move(health);
        if (WSAEventSelect(static_cast<SOCKET>(m_socket->LibrarySide()), m_closed.Get(), FD_CLOSE) != 0) {
            return EIO;
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
            m_armed.Set();
        }
    }

    void StopWatching() override {
        if (m_thread.joinable()) {
            m_stop.Set();
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

    // While the socket is readable the driver's event is not waited for: the reader takes the frames.
    void Run() {
        for (;;) {
            const HANDLE objects[] = {m_stop.Get(), m_closed.Get(),
                                      m_signalled.load() ? m_armed.Get() : m_object};
            switch (WaitForMultipleObjects(3, objects, FALSE, kHealthIntervalMs)) {
            case WAIT_OBJECT_0 + 2:
                if (objects[2] == m_object) {
                    Signal();
                }
                break;
            case WAIT_TIMEOUT:
                if (m_health() != 0) {
                    Signal();
                }
                break;
            default:
                // Told to stop, or the program has closed its end.
                m_interrupted.store(true);
                return;
            }
        }
    }

    std::unique_ptr<NotifySocket> m_socket;
    Event m_stop{true};
    Event m_closed{true};
    Event m_armed{false};
    HANDLE m_object = nullptr;
    std::function<int()> m_health;
    std::atomic<bool> m_signalled{false};
    std::atomic<bool> m_interrupted{false};
    std::thread m_thread;
};

template <typename Gate>
std::unique_ptr<ReaderGate> Checked(std::unique_ptr<Gate> gate) {
    if (!gate->IsGood()) {
        errno = ENOMEM;
        return nullptr;
    }
    return gate;
}

} // namespace

std::unique_ptr<ReaderGate> ReaderGate::Make(bool socketNotify) {
    if (!socketNotify) {
        return Checked(std::make_unique<EventGate>());
    }
    std::unique_ptr<NotifySocket> socket = NotifySocket::Create();
    if (!socket) {
        return nullptr;
    }
    return Checked(std::make_unique<SocketGate>(std::move(socket)));
}

} // namespace vnxtest
