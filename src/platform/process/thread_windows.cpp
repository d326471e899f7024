#include <windows.h>

#include <mmsystem.h>

#include "platform/process/thread.h"

namespace vnxtest {

bool RaiseThreadPriority() {
    return SetThreadPriority(GetCurrentThread(), THREAD_PRIORITY_ABOVE_NORMAL) != FALSE;
}

TimerResolution::TimerResolution() {
    timeBeginPeriod(1);
}
TimerResolution::~TimerResolution() {
    timeEndPeriod(1);
}

// The system calls its handler on a thread of its own.
struct StopSignalsHeldBack::Mask {};
StopSignalsHeldBack::StopSignalsHeldBack() = default;
StopSignalsHeldBack::~StopSignalsHeldBack() = default;

} // namespace vnxtest
