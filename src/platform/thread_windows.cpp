#include <windows.h>

#include <mmsystem.h>
#include <pthread.h>

#include "platform/thread.h"

namespace vnxtest {

bool RaiseThreadPriority(std::thread& thread) {
    // std::thread stands on winpthreads here; its handle is the system's thread handle.
    const HANDLE handle = static_cast<HANDLE>(pthread_gethandle(thread.native_handle()));
    return SetThreadPriority(handle, THREAD_PRIORITY_ABOVE_NORMAL) != FALSE;
}

TimerResolution::TimerResolution() { timeBeginPeriod(1); }
TimerResolution::~TimerResolution() { timeEndPeriod(1); }

} // namespace vnxtest
