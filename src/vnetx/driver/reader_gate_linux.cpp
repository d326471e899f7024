#include "vnetx/driver/reader_gate.h"

#include <array>
#include <atomic>
#include <cerrno>
#include <system_error>
#include <thread>
#include <utility>

#include <poll.h>
#include <sys/epoll.h>
#include <sys/eventfd.h>
#include <sys/socket.h>
#include <unistd.h>

#include "vnetx/driver/notify_socket.h"
#include "wrenlib/descriptor_linux.h"

namespace vnxtest {
namespace {

constexpr int kHealthIntervalMs = 250;

void RaiseEvent(int event) {
    const std::uint64_t one = 1;
    // EAGAIN: the counter is at its limit, so the event is raised already. Nothing else can fail.
    [[maybe_unused]] const ssize_t written = write(event, &one, sizeof one);
}

void ClearEvent(int event) {
    std::uint64_t count = 0;
    [[maybe_unused]] const ssize_t got = read(event, &count, sizeof count);
}

// The pending error of a wait object.
int ErrorOf(int descriptor) {
    int code = 0;
    socklen_t size = sizeof code;
    if (getsockopt(descriptor, SOL_SOCKET, SO_ERROR, &code, &size) != 0 || code == 0) {
        return EIO;
    }
    return code;
}

// Normal mode. The handle is the wake-up event's own number: no other handle can have it.
class EventGate final : public ReaderGate {
public:
    explicit EventGate(Descriptor event) : m_event(std::move(event)) {}

    std::int32_t Handle() const override { return m_event.Get(); }

    WaitResult Wait(WaitObject object, int milliseconds) override {
        std::array<pollfd, 2> waits{pollfd{static_cast<int>(object), POLLIN, 0},
                                    pollfd{m_event.Get(), POLLIN, 0}};
        const int ready = poll(waits.data(), waits.size(), milliseconds);
        if (ready == 0 || (ready < 0 && errno == EINTR)) {
            return WaitResult::TimedOut;
        }
        if (ready < 0) {
            return WaitResult::Failed;
        }
        if (waits[1].revents != 0) {
            ClearEvent(m_event.Get());
            return WaitResult::Woken;
        }
        if ((waits[0].revents & POLLIN) != 0 && (waits[0].revents & POLLERR) == 0) {
            return WaitResult::Ready;
        }
        errno = ErrorOf(static_cast<int>(object));
        return WaitResult::Failed;
    }

    void Wake() override { RaiseEvent(m_event.Get()); }
    void Interrupt() override {
        m_interrupted.store(true);
        Wake();
    }
    bool IsInterrupted() const override { return m_interrupted.load(std::memory_order_relaxed); }
    int Watch(WaitObject, std::function<int()>) override { return 0; }
    void Rearm() override {}
    void StopWatching() override {}

private:
    Descriptor m_event;
    std::atomic<bool> m_interrupted{false};
};

// Socket-notify mode.
class SocketGate final : public ReaderGate {
public:
    SocketGate(std::unique_ptr<NotifySocket> socket, Descriptor epoll, Descriptor stop)
        : m_socket(std::move(socket)), m_epoll(std::move(epoll)), m_stop(std::move(stop)) {}
    ~SocketGate() override { StopWatching(); }

    std::int32_t Handle() const override { return m_socket->Handle(); }
    WaitResult Wait(WaitObject, int) override {
        errno = EINVAL; // reads never wait in this mode
        return WaitResult::Failed;
    }
    void Wake() override {}
    void Interrupt() override {
        m_interrupted.store(true);
        RaiseEvent(m_stop.Get());
    }
    bool IsInterrupted() const override { return m_interrupted.load(std::memory_order_relaxed); }

    int Watch(WaitObject object, std::function<int()> health) override {
        m_object = static_cast<int>(object);
        m_health = std::move(health);
        if (!Control(EPOLL_CTL_ADD, m_object, EPOLLIN | EPOLLONESHOT) ||
            !Control(EPOLL_CTL_ADD, static_cast<int>(m_socket->LibrarySide()), EPOLLRDHUP) ||
            !Control(EPOLL_CTL_ADD, m_stop.Get(), EPOLLIN)) {
            return errno;
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
            Control(EPOLL_CTL_MOD, m_object, EPOLLIN | EPOLLONESHOT);
        }
    }

    void StopWatching() override {
        if (m_thread.joinable()) {
            RaiseEvent(m_stop.Get());
            m_thread.join();
        }
    }

private:
    bool Control(int operation, int descriptor, std::uint32_t events) const {
        epoll_event event{};
        event.events = events;
        event.data.fd = descriptor;
        return epoll_ctl(m_epoll.Get(), operation, descriptor, &event) == 0;
    }

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
            epoll_event event{};
            const int count = epoll_wait(m_epoll.Get(), &event, 1, kHealthIntervalMs);
            if (count < 0 && errno != EINTR) {
                return;
            }
            if (count <= 0) {
                if (m_health() != 0) {
                    Signal();
                }
            } else if (event.data.fd == m_object) {
                Signal();
            } else {
                // Told to stop, or the program has shut its end down.
                m_interrupted.store(true);
                return;
            }
        }
    }

    std::unique_ptr<NotifySocket> m_socket;
    Descriptor m_epoll, m_stop;
    int m_object = -1;
    std::function<int()> m_health;
    std::atomic<bool> m_signalled{false};
    std::atomic<bool> m_interrupted{false};
    std::thread m_thread;
};

} // namespace

std::unique_ptr<ReaderGate> ReaderGate::Make(bool socketNotify) {
    Descriptor event(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK));
    if (!event) {
        return nullptr;
    }
    if (!socketNotify) {
        return std::make_unique<EventGate>(std::move(event));
    }
    std::unique_ptr<NotifySocket> socket = NotifySocket::Create();
    Descriptor epoll(epoll_create1(EPOLL_CLOEXEC));
    if (!socket || !epoll) {
        return nullptr;
    }
    return std::make_unique<SocketGate>(std::move(socket), std::move(epoll), std::move(event));
}

} // namespace vnxtest
