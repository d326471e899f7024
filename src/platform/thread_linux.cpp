#include <cerrno>

#include <sys/resource.h>
#include <sys/types.h>
#include <unistd.h>

#include "platform/thread.h"

namespace vnxtest {

bool RaiseThreadPriority(std::thread&) {
    // Niceness belongs to a kernel thread id, which only the thread itself knows portably; threads
    // of the normal class are woken promptly without it, so there is nothing to raise.
    return true;
}

TimerResolution::TimerResolution() = default;
TimerResolution::~TimerResolution() = default;

} // namespace vnxtest
