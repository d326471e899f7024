// Which addresses a guest must not take. The helper refuses them; an administrator's program warns of them.
// Pure functions; any thread.
#pragma once

#include <optional>
#include <vector>

#include "open/open_request.h"
#include "wrenlib/address.h"

namespace vnxtest {

struct HostFacts {
    struct Subnet {
        Ipv4Address address, mask;
        bool Has(Ipv4Address ip) const { return (ip & mask) == (address & mask); }
    };
    std::vector<MacAddress> macs;       // of every adapter
    std::vector<Ipv4Address> addresses; // likewise
    std::vector<Ipv4Address> gateways;  // of every route, and of the next hops that stand by themselves
    std::vector<Subnet> adapter;        // the addresses of the adapter in question
    std::vector<Subnet> local;          // the local routes: an address within one is the host's
};

// The record in `bytes`; nullopt unless every byte is right: size, version, names, and zeroes in each field
// that its kind does not use. The addresses are not judged.
std::optional<OpenRequest> ParseOpenRequest(const void* bytes, std::size_t size);

// The guest's addresses beside the host's.
Refusal JudgeMac(MacAddress mac, const HostFacts& host);
Refusal JudgeIp(Ipv4Address ip, const HostFacts& host);
// A guest to which the host gets a route, `hostEnd` being the host's own address of it.
Refusal JudgeRoute(Ipv4Address ip, Ipv4Address hostEnd, const HostFacts& host);
// All of it that concerns the kind of `request`.
Refusal JudgeRequest(const OpenRequest& request, const HostFacts& host);

} // namespace vnxtest
