// Thread priority, timer resolution, and holding back stop signals.
#pragma once

#include <memory>

namespace vnxtest {

// Raises the calling thread to above-normal priority. True also without the privilege that Linux requires,
// at normal priority, since the program works all the same; false with the last error set for another
// failure.
bool RaiseThreadPriority();

// Holds the system timer at a resolution of 1 ms for its lifetime (timeBeginPeriod). No effect on Linux,
// whose timers are finer.
class TimerResolution {
public:
    TimerResolution();
    ~TimerResolution();
    TimerResolution(const TimerResolution&) = delete;
    TimerResolution& operator=(const TimerResolution&) = delete;
};

// For its lifetime the calling thread blocks the stop signals (platform/process/stop_signal.h); the threads
// that it makes meanwhile block them for good.
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
