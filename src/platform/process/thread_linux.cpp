#include <cerrno>
#include <csignal>

#include <sys/resource.h>
#include <sys/types.h>
#include <unistd.h>

#include "platform/process/thread.h"

namespace vnxtest {

bool RaiseThreadPriority() {
    // On Linux niceness belongs to a thread, in spite of the call's name (sched(7)). Relative to the
    // program's own priority, which may have been raised at its start.
    constexpr int kAboveNormal = -5;
    const auto thread = static_cast<id_t>(gettid());
    const int raised = getpriority(PRIO_PROCESS, thread) + kAboveNormal;
    return setpriority(PRIO_PROCESS, thread, raised) == 0 || errno == EACCES || errno == EPERM;
}

TimerResolution::TimerResolution() = default;
TimerResolution::~TimerResolution() = default;

struct StopSignalsHeldBack::Mask {
    sigset_t signals{};
};

StopSignalsHeldBack::StopSignalsHeldBack() : m_before(std::make_unique<Mask>()) {
    sigset_t held{};
    sigemptyset(&held);
    for (const int number : {SIGINT, SIGTERM, SIGHUP, SIGQUIT}) {
        sigaddset(&held, number);
    }
    pthread_sigmask(SIG_BLOCK, &held, &m_before->signals);
}

StopSignalsHeldBack::~StopSignalsHeldBack() {
    pthread_sigmask(SIG_SETMASK, &m_before->signals, nullptr);
}

} // namespace vnxtest
