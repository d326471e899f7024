// The user's request to stop, from outside: SIGINT, SIGTERM and SIGHUP, on Windows Ctrl+C,
// Ctrl+Break and the closing of the console; and the request to tell how it stands, SIGQUIT (Ctrl+\ in a
// terminal). On Windows no key is left for that.
//
// The requests arrive as calls on an ordinary thread of their own, not in a signal handler.
#pragma once

#include <functional>
#include <memory>

#include "wrenlib/failure.h"

namespace vnxtest {

class StopSignal {
public:
    // From now on calls `handler` with 1 for the first request, 2 for the second, and so on; before, a
    // request ends the program. One object at a time, made on the main thread before any other thread,
    // except those that hold the signals back (StopSignalsHeldBack). A signal that the parent process has
    // made ignored (nohup) stays ignored. A closed pipe shows as a failed write (EPIPE), not as a signal.
    // A failure without a descriptor; std::system_error, as std::thread throws it, without a thread. Not
    // null. `onQuestion`, unless it is null, is called for each SIGQUIT, which then no longer ends the
    // program.
    static Result<std::unique_ptr<StopSignal>> Begin(std::function<void(int count)> handler,
                                                     std::function<void()> onQuestion = nullptr);
    // Ends the calls. On Windows the closing of a console waits for it, 4.5 seconds at most.
    ~StopSignal();
    StopSignal(const StopSignal&) = delete;
    StopSignal& operator=(const StopSignal&) = delete;

private:
    struct Watch;
    explicit StopSignal(std::unique_ptr<Watch> watch);

    std::unique_ptr<Watch> m_watch;
};

// Ends the process at once with `status`; no destructor runs. For the second request. Any thread.
[[noreturn]] void EndProcessAtOnce(int status);

} // namespace vnxtest
