// One interface of the simulated guest: what was asked for, its addresses, what is open, what was counted.
#pragma once

#include "core/interface_addresses.h"
#include "core/interface_counts.h"
#include "core/interface_parameters.h"
#include "core/open_interface.h"

namespace vnxtest {

// INTERFACE_INFO: a guest owns two, interface 1 and interface 2. The user-interface thread sets what is asked
// for while the guest is stopped; it survives from start to start, and the addresses follow it before each
// start. While the interface runs only its monitor thread changes the record; the adapter's addresses may
// also be refreshed by a thread that writes a packet. A function that needs one part takes that part.
struct INTERFACE_INFO {
    InterfaceParameters asked;
    InterfaceAddresses addresses;
    OpenInterface open;
    InterfaceCounts counted;

    // Back to the empty state: TUN mode, no texts, no addresses. Not for an open interface.
    void Reset() {
        asked = {};
        addresses.Reset();
        open.SetName({});
        counted.Clear();
    }
};

} // namespace vnxtest
