// The user's request to stop, from outside: SIGINT, SIGTERM and SIGHUP, on Windows Ctrl+C,
// Ctrl+Break and the closing of the console.
//
// The requests arrive as calls on a thread of their own, where everything may be done that an
// ordinary thread may do.
#pragma once

#include <functional>
#include <memory>

namespace vnxtest {

class StopSignal {
public:
    // From now on calls `handler` with 1 for the first request, 2 for the second, and so on; until
    // then a request ends the program as the system does it. One object at a time, made on the main
    // thread before any other thread. A signal that the program's starter has told it to ignore
    // (nohup) stays ignored. A reader that goes away shows as a failed write (EPIPE), not as a signal.
    // Throws std::system_error, which names the call, when there is no thread or no descriptor for it.
    explicit StopSignal(std::function<void(int count)> handler);
    // Ends the calls. On Windows the closing of a console is held up until then, some seconds at most.
    ~StopSignal();
    StopSignal(const StopSignal&) = delete;
    StopSignal& operator=(const StopSignal&) = delete;

private:
    struct Watch;
    std::unique_ptr<Watch> m_watch;
};

// Ends the process here and now with `status`: no destructor runs. For the second request.
[[noreturn]] void EndProcessAtOnce(int status);

} // namespace vnxtest
