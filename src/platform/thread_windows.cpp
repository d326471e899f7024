#include <windows.h>

#include <mmsystem.h>

#include "platform/thread.h"

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

} // namespace vnxtest
