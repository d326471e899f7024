// What the threads of a ping test tell each other by.
#pragma once

#include "wrenlib/wait.h"

namespace vnxtest {

struct PingSignals {
    WaitDomain domain;
    ManualResetEvent changed{domain};    // the wait thread's answer may be another one now
    ManualResetEvent stop{domain};       // the test is over at once
    ManualResetEvent endSending{domain}; // no more pings; what was sent is still decided
    WaitableTimer deadline{domain};      // the wait thread's
};

} // namespace vnxtest
