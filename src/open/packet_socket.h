// A packet socket for a guest, and what it may receive. A root program opens it for itself, the helper
// `vnxtest-open` for others, with the filter locked. The filter therefore repeats what the new owner could
// undo: it names the adapter, since a socket can be bound to another one, and drops what this host sends,
// since PACKET_IGNORE_OUTGOING can be switched off.
#pragma once

#include <vector>

#include <linux/filter.h>

#include "open/open_request.h"
#include "wrenlib/address.h"
#include "wrenlib/descriptor_linux.h"

namespace vnxtest {

using PacketFilter = std::vector<sock_filter>;

// For a socket of `kind` on the adapter of this index; only GuestSocket uses `guest`.
PacketFilter MakePacketFilter(OpenKind kind, std::uint32_t adapter, MacAddress guest);

// False with errno (socket(7), SO_ATTACH_FILTER).
bool AttachFilter(int socket, PacketFilter filter);

// A packet socket of the kind bound to the adapter, promiscuous, since the guest's MAC is not the
// adapter's, and filtered from its first frame on; `lock` locks the filter for good. Empty on failure, with
// errno and the name of the call in `call`. Needs CAP_NET_RAW. Any thread.
Descriptor OpenPacketSocket(OpenKind kind, std::uint32_t adapter, MacAddress guest, bool lock,
                            const char*& call);

} // namespace vnxtest
