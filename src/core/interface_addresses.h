// The addresses of one interface of the guest: what its texts mean, and what the host and the library add to
// them before a start and while it runs.
#pragma once

#include <atomic>
#include <mutex>
#include <string>

#include "packets/reply_scope.h"
#include "wrenlib/address.h"

namespace vnxtest {

struct InterfaceAddresses {
    // Settled before each start; while the interface is opened its monitor thread may still learn the MAC.
    Ipv4Address guestIp;
    MacAddress guestMac;
    Ipv4Address broadcastIp;
    std::wstring broadcastText;
    bool inAdapterSubnet = false;
    MacAddress gatewayMac; // of the host's default gateway; zeroes when it is not known

    // Of the host adapter. While the interface runs whoever writes a packet may complete these three, under
    // the lock; once both addresses are known they change no more.
    Ipv4Address adapterIp;
    MacAddress adapterMac;
    Ipv4Address netMask;
    std::mutex adapterLock;
    std::atomic<bool> adapterKnown{false};

    // Back to no addresses. Not for an open interface.
    void Reset();
};

// The addresses that such a guest may answer. Monitor thread.
ReplyScope ReplyScopeOf(InterfaceAddresses& addresses);

} // namespace vnxtest
