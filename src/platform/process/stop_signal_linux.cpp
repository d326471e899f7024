#include <cerrno>
#include <csignal>
#include <cstdint>
#include <thread>

#include <poll.h>
#include <pthread.h>
#include <sys/eventfd.h>
#include <sys/signalfd.h>
#include <unistd.h>

#include "platform/process/stop_signal.h"

namespace vnxtest {

// The signals are blocked in every thread and read from a descriptor by one thread, so that no code runs in
// a signal handler.
struct StopSignal::Watch {
    std::function<void(int)> handler;
    std::function<void()> onQuestion;
    sigset_t signals{};
    sigset_t maskBefore{};
    int requests = -1; // signalfd
    int end = -1;      // eventfd
    std::thread thread;

    ~Watch() {
        close(end);
        close(requests);
    }

    void Run() {
        pollfd waits[2] = {{end, POLLIN, 0}, {requests, POLLIN, 0}};
        for (int count = 1;;) {
            if (poll(waits, 2, -1) < 0) {
                continue;
            }
            if (waits[0].revents != 0) {
                return;
            }
            signalfd_siginfo info{};
            if (read(requests, &info, sizeof info) != static_cast<ssize_t>(sizeof info)) {
                continue;
            }
            if (info.ssi_signo == SIGQUIT) {
                onQuestion();
            } else {
                handler(count++);
            }
        }
    }
};

Result<std::unique_ptr<StopSignal>> StopSignal::Begin(std::function<void(int)> handler,
                                                      std::function<void()> onQuestion) {
    auto watch = std::make_unique<Watch>();
    watch->handler = std::move(handler);
    watch->onQuestion = std::move(onQuestion);
    sigemptyset(&watch->signals);
    for (const int number : {SIGINT, SIGTERM, SIGHUP, SIGQUIT}) {
        if (number == SIGQUIT && !watch->onQuestion) {
            continue;
        }
        struct sigaction current {};
        if (sigaction(number, nullptr, &current) == 0 && current.sa_handler != SIG_IGN) {
            sigaddset(&watch->signals, number);
        }
    }
    std::signal(SIGPIPE, SIG_IGN);
    watch->requests = signalfd(-1, &watch->signals, SFD_CLOEXEC);
    if (watch->requests < 0) {
        return FailedCall(L"signalfd");
    }
    watch->end = eventfd(0, EFD_CLOEXEC);
    if (watch->end < 0) {
        return FailedCall(L"eventfd");
    }
    return std::unique_ptr<StopSignal>(new StopSignal(std::move(watch)));
}

StopSignal::StopSignal(std::unique_ptr<Watch> watch) : m_watch(std::move(watch)) {
    pthread_sigmask(SIG_BLOCK, &m_watch->signals, &m_watch->maskBefore);
    try {
        m_watch->thread = std::thread([running = m_watch.get()] { running->Run(); });
    } catch (...) {
        pthread_sigmask(SIG_SETMASK, &m_watch->maskBefore, nullptr);
        throw;
    }
}

StopSignal::~StopSignal() {
    if (m_watch->thread.joinable()) {
        const std::uint64_t one = 1;
        [[maybe_unused]] const ssize_t written = write(m_watch->end, &one, sizeof one);
        m_watch->thread.join();
        pthread_sigmask(SIG_SETMASK, &m_watch->maskBefore, nullptr);
    }
}

void EndProcessAtOnce(int status) {
    _exit(status);
}

} // namespace vnxtest
