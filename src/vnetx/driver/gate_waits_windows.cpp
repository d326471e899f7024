#include "vnetx/driver/gate_waits.h"

#include <atomic>
#include <cerrno>
#include <utility>

#include <winsock2.h>

#include <windows.h>

namespace vnxtest {
namespace {

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

// Sockets have even numbers (multiples of four), so odd ones are never theirs.
class EventHandle final : public WakeEvent {
public:
    EventHandle() : m_handle(NextHandle()) {}

    bool IsGood() const { return static_cast<bool>(m_wake); }
    std::int32_t Handle() const override { return m_handle; }

    ReaderGate::WaitResult Wait(WaitObject object, int milliseconds) override {
        const HANDLE objects[] = {m_wake.Get(), HandleOf(object)};
        const DWORD limit = milliseconds < 0 ? INFINITE : static_cast<DWORD>(milliseconds);
        switch (WaitForMultipleObjects(2, objects, FALSE, limit)) {
        case WAIT_OBJECT_0:
            return ReaderGate::WaitResult::Woken;
        case WAIT_OBJECT_0 + 1:
            return ReaderGate::WaitResult::Ready;
        case WAIT_TIMEOUT:
            return ReaderGate::WaitResult::TimedOut;
        default:
            errno = EIO;
            return ReaderGate::WaitResult::Failed;
        }
    }

    void Wake() override { m_wake.Set(); }

private:
    static std::int32_t NextHandle() {
        static std::atomic<std::int32_t> next{1};
        return next.fetch_add(2);
    }

    const std::int32_t m_handle;
    Event m_wake{false};
};

class EventWatch final : public DriverWatch {
public:
    bool IsGood() const { return m_stop && m_armed && m_closed; }

    int Begin(WaitObject object, const NotifySocket& socket) override {
        m_object = HandleOf(object);
        const auto library = static_cast<SOCKET>(socket.LibrarySide());
        return WSAEventSelect(library, m_closed.Get(), FD_CLOSE) == 0 ? 0 : EIO;
    }

    // While the program's socket is readable the driver's event is not waited for: the reader takes the
    // frames.
    Seen Await(bool signalled, int milliseconds) override {
        const HANDLE objects[] = {m_stop.Get(), m_closed.Get(), signalled ? m_armed.Get() : m_object};
        switch (WaitForMultipleObjects(3, objects, FALSE, static_cast<DWORD>(milliseconds))) {
        case WAIT_OBJECT_0 + 2:
            return signalled ? Seen::Rearmed : Seen::Frame;
        case WAIT_TIMEOUT:
            return Seen::Nothing;
        default:
            return Seen::End;
        }
    }

    void Rearm() override { m_armed.Set(); }
    void Stop() override { m_stop.Set(); }

private:
    Event m_stop{true};
    Event m_closed{true};
    Event m_armed{false};
    HANDLE m_object = nullptr;
};

template <typename Wait>
std::unique_ptr<Wait> Checked(std::unique_ptr<Wait> wait) {
    if (!wait->IsGood()) {
        errno = ENOMEM;
        return nullptr;
    }
    return wait;
}

} // namespace

std::unique_ptr<WakeEvent> WakeEvent::Make() {
    return Checked(std::make_unique<EventHandle>());
}

std::unique_ptr<DriverWatch> DriverWatch::Make() {
    return Checked(std::make_unique<EventWatch>());
}

} // namespace vnxtest
