// The events between the threads of a ping test.
#pragma once

#include "wrenlib/wait.h"

namespace vnxtest {

struct PingSignals {
    WaitDomain domain;
    ManualResetEvent changed{domain};    // the wait thread must look again
    ManualResetEvent stop{domain};       // the test is over at once
    ManualResetEvent endSending{domain}; // no more pings; those sent are still decided
    WaitableTimer deadline{domain};      // the wait thread's
};

} // namespace vnxtest
