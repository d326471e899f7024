#include <cerrno>

#include <sys/resource.h>
#include <sys/types.h>
#include <unistd.h>

#include "platform/thread.h"

namespace vnxtest {

bool RaiseThreadPriority() {
    // On Linux niceness belongs to a thread, whatever the name of the call says (sched(7)). Above normal is
    // above this program's own: one that was started with a raised priority must not lose it here.
    constexpr int kAboveNormal = -5;
    const auto thread = static_cast<id_t>(gettid());
    const int raised = getpriority(PRIO_PROCESS, thread) + kAboveNormal;
    return setpriority(PRIO_PROCESS, thread, raised) == 0 || errno == EACCES || errno == EPERM;
}

TimerResolution::TimerResolution() = default;
TimerResolution::~TimerResolution() = default;

} // namespace vnxtest
