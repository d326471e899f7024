// The monitor threads' standing with the scheduler, and the system timer's resolution.
#pragma once

#include <memory>

namespace vnxtest {

// Raises the calling thread to above-normal priority. Returns false with the last error set when the
// system refuses it for another reason than a missing privilege. Linux grants it to privileged
// processes only; without the privilege the thread stays at normal priority and the result is true,
// since the program works all the same.
bool RaiseThreadPriority();

// Holds the system timer at a resolution of 1 ms for its own lifetime (timeBeginPeriod). Linux
// timers are finer than that already: there it does nothing.
class TimerResolution {
public:
    TimerResolution();
    ~TimerResolution();
    TimerResolution(const TimerResolution&) = delete;
    TimerResolution& operator=(const TimerResolution&) = delete;
};

// For its lifetime the requests to stop (platform/process/stop_signal.h) do not go to the calling thread,
// nor, for good, to the threads that it makes meanwhile.
class StopSignalsHeldBack {
public:
    StopSignalsHeldBack();
    ~StopSignalsHeldBack();
    StopSignalsHeldBack(const StopSignalsHeldBack&) = delete;
    StopSignalsHeldBack& operator=(const StopSignalsHeldBack&) = delete;

private:
    struct Mask;
    std::unique_ptr<Mask> m_before;
};

} // namespace vnxtest
