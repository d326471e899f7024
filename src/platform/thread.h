// The monitor threads' standing with the scheduler, and the system timer's resolution.
#pragma once

#include <thread>

namespace vnxtest {

// Raises `thread` to above-normal priority. Returns false with the last error set when the system
// refuses for another reason than missing privilege. Linux grants it only to privileged processes;
// without the privilege the thread stays at normal priority and true is returned, since the program
// works all the same.
bool RaiseThreadPriority(std::thread& thread);

// Holds the system timer at a resolution of 1 ms for its own lifetime (timeBeginPeriod). Linux
// timers are finer than that already: there it does nothing.
class TimerResolution {
public:
    TimerResolution();
    ~TimerResolution();
    TimerResolution(const TimerResolution&) = delete;
    TimerResolution& operator=(const TimerResolution&) = delete;
};

} // namespace vnxtest
