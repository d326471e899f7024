// What the kernel tells of this host, as far as a request is judged by it.
#pragma once

#include "open/guest_rules.h"

namespace vnxtest {

struct AdapterFacts {
    std::uint32_t index = 0; // 0: there is no such adapter
    bool up = false;
    bool ethernet = false;
};

// Fills both; needs no right. False with errno when the kernel does not tell, and `call` names what failed.
bool GatherHostFacts(const AdapterName& name, HostFacts& host, AdapterFacts& adapter, const char*& call);

} // namespace vnxtest
