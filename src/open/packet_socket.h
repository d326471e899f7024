// A packet socket for a guest, and what it may receive: one maker for whoever opens it, a root program for
// itself, or the helper `vnxtest-open`, which gives it away with the filter locked. The filter therefore also
// holds what the one who gets the socket could undo otherwise: it names the adapter, since a socket can be
// bound to another one, and leaves out what this host sends, since PACKET_IGNORE_OUTGOING can be switched
// off.
#pragma once

#include <vector>

#include <linux/filter.h>

#include "open/open_request.h"
#include "wrenlib/address.h"
#include "wrenlib/descriptor_linux.h"

namespace vnxtest {

using PacketFilter = std::vector<sock_filter>;

// For a socket of the kind at the adapter with that index; `guest` is used by the kind GuestSocket only.
PacketFilter MakePacketFilter(OpenKind kind, std::uint32_t adapter, MacAddress guest);

// False with errno (socket(7), SO_ATTACH_FILTER).
bool AttachFilter(int socket, PacketFilter filter);

// A packet socket of the kind bound to the adapter, promiscuous, since the guest's MAC is not the adapter's,
// and filtered from its first frame on; `lock` locks the filter for good. Or none with errno and, in `call`,
// the name of what failed. Takes CAP_NET_RAW.
Descriptor OpenPacketSocket(OpenKind kind, std::uint32_t adapter, MacAddress guest, bool lock,
                            const char*& call);

} // namespace vnxtest
