// Texts for standard error about a run with faults. Any thread.
#pragma once

#include <string>

#include "core/interface_counts.h"
#include "core/ping_plan.h"

namespace vnxtest {

// A ping could not be written; `failure` is the document's message about it.
std::wstring DescribeWriteFailure(const PingPlan& plan, const std::wstring& failure);

// Frames that the driver of interface 0 or 1 dropped unread: lost on this machine, not on the network.
// Empty if there were none. Called after the interface was closed.
std::wstring DescribeDroppedFrames(const InterfaceCounts& counted, int index);

// A guest that ended by itself.
struct StoppedGuest {
    std::wstring library;        // as on the command line
    std::wstring failure;        // what the document says of it
    bool everOpened = false;     // an interface was opened before
    bool rightsWereGone = false; // given up when all were
    bool wasRefused = false;     // `failure` says already what the program may not open
};
std::wstring DescribeStoppedGuest(const StoppedGuest& stopped);

} // namespace vnxtest
