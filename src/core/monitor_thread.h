// The monitor thread: opens one interface, reads it until told to stop, hands every frame on,
// reports the statistics and closes it.
#pragma once

#include "core/interface_info.h"
#include "core/packet_handler.h"
#include "core/run_settings.h"
#include "core/view_port.h"
#include "vnetx/library.h"
#include "wrenlib/wait.h"

namespace vnxtest {

// The objects of a monitor thread. All of them outlive it.
struct MonitorContext {
    INTERFACE_INFO& info;
    VnetxLibrary& library;
    const RunSettings& settings;
    const ManualResetEvent& stopEvent;
    PacketHandler& handler;
    ViewPort& view;
};

// The thread's procedure, for a WorkerThread. Ends when the stop event is set (seen within one read
// time-out of 250 ms; in socket-notify mode when the interface's socket is woken as well), when a read
// fails or when the interface cannot be opened. Posts InterfaceOpened once it reads.
void MonitorThread(MonitorContext context);

} // namespace vnxtest
