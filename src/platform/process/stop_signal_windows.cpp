#include <windows.h>

#include <mutex>

#include "platform/process/stop_signal.h"

namespace vnxtest {

// The system calls the handler routine on a thread that it makes for the purpose.
struct StopSignal::Watch {
    std::function<void(int)> handler;
    int count = 0;
    HANDLE ended = nullptr; // manual reset, set by the destructor
};

namespace {

std::mutex g_watchLock;
std::function<void()> g_request;
HANDLE g_ended = nullptr;

// After a console is closed the system ends the process when its handler returns, after five seconds at the
// latest: the handler waits until the guest has been stopped in order.
constexpr DWORD kClosingGrace = 4500;

BOOL WINAPI OnConsoleControl(DWORD event) {
    HANDLE ended = nullptr;
    {
        const std::lock_guard lock(g_watchLock);
        if (!g_request) {
            return FALSE;
        }
        g_request();
        ended = g_ended;
    }
    if (event == CTRL_CLOSE_EVENT || event == CTRL_LOGOFF_EVENT || event == CTRL_SHUTDOWN_EVENT) {
        WaitForSingleObject(ended, kClosingGrace);
    }
    return TRUE;
}

} // namespace

Result<std::unique_ptr<StopSignal>> StopSignal::Begin(std::function<void(int)> handler,
                                                      std::function<void()> /*onQuestion*/) {
    auto watch = std::make_unique<Watch>();
    watch->handler = std::move(handler);
    watch->ended = CreateEventW(nullptr, TRUE, FALSE, nullptr);
    return std::unique_ptr<StopSignal>(new StopSignal(std::move(watch)));
}

StopSignal::StopSignal(std::unique_ptr<Watch> watch) : m_watch(std::move(watch)) {
    {
        const std::lock_guard lock(g_watchLock);
        g_ended = m_watch->ended;
        g_request = [watch = m_watch.get()] { watch->handler(++watch->count); };
    }
    SetConsoleCtrlHandler(&OnConsoleControl, TRUE);
}

StopSignal::~StopSignal() {
    SetConsoleCtrlHandler(&OnConsoleControl, FALSE);
    {
        const std::lock_guard lock(g_watchLock);
        g_request = nullptr;
        g_ended = nullptr;
    }
    SetEvent(m_watch->ended);
    CloseHandle(m_watch->ended);
}

void EndProcessAtOnce(int status) {
    TerminateProcess(GetCurrentProcess(), static_cast<UINT>(status));
    for (;;) {
    }
}

} // namespace vnxtest
