#include "vnetx/driver/gate_waits.h"

#include <array>
#include <cerrno>
#include <utility>

#include <poll.h>
#include <sys/epoll.h>
#include <sys/eventfd.h>
#include <sys/socket.h>
#include <unistd.h>

#include "wrenlib/descriptor_linux.h"

namespace vnxtest {
namespace {

Descriptor MakeEvent() {
    return Descriptor(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK));
}

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

class EventDescriptor final : public WakeEvent {
public:
    explicit EventDescriptor(Descriptor event) : m_event(std::move(event)) {}

    std::int32_t Handle() const override { return m_event.Get(); }

    ReaderGate::WaitResult Wait(WaitObject object, int milliseconds) override {
        using WaitResult = ReaderGate::WaitResult;
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

private:
    Descriptor m_event;
};

// The driver's descriptor is watched for one frame at a time (EPOLLONESHOT).
class EpollWatch final : public DriverWatch {
public:
    EpollWatch(Descriptor epoll, Descriptor stop) : m_epoll(std::move(epoll)), m_stop(std::move(stop)) {}

    int Begin(WaitObject object, const NotifySocket& socket) override {
        m_object = static_cast<int>(object);
        const bool added = Control(EPOLL_CTL_ADD, m_object, EPOLLIN | EPOLLONESHOT) &&
                           Control(EPOLL_CTL_ADD, static_cast<int>(socket.LibrarySide()), EPOLLRDHUP) &&
                           Control(EPOLL_CTL_ADD, m_stop.Get(), EPOLLIN);
        return added ? 0 : errno;
    }

    Seen Await(bool, int milliseconds) override {
        epoll_event event{};
        const int count = epoll_wait(m_epoll.Get(), &event, 1, milliseconds);
        if (count == 0 || (count < 0 && errno == EINTR)) {
            return Seen::Nothing;
        }
        return count > 0 && event.data.fd == m_object ? Seen::Frame : Seen::End;
    }

    void Rearm() override { Control(EPOLL_CTL_MOD, m_object, EPOLLIN | EPOLLONESHOT); }
    void Stop() override { RaiseEvent(m_stop.Get()); }

private:
    bool Control(int operation, int descriptor, std::uint32_t events) const {
        epoll_event event{};
        event.events = events;
        event.data.fd = descriptor;
        return epoll_ctl(m_epoll.Get(), operation, descriptor, &event) == 0;
    }

    Descriptor m_epoll, m_stop;
    int m_object = -1;
};

} // namespace

std::unique_ptr<WakeEvent> WakeEvent::Make() {
    Descriptor event = MakeEvent();
    return event ? std::make_unique<EventDescriptor>(std::move(event)) : nullptr;
}

std::unique_ptr<DriverWatch> DriverWatch::Make() {
    Descriptor stop = MakeEvent();
    Descriptor epoll(stop ? epoll_create1(EPOLL_CLOEXEC) : -1);
    return epoll ? std::make_unique<EpollWatch>(std::move(epoll), std::move(stop)) : nullptr;
}

} // namespace vnxtest
