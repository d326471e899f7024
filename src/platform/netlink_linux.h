// Owners of libnl's objects, and the codes of its failures as errno values. Linux only.
#pragma once

#include <cstdint>
#include <memory>

#include <netlink/cache.h>
#include <netlink/netlink.h>
#include <netlink/route/addr.h>
#include <netlink/route/link.h>
#include <netlink/route/neighbour.h>
#include <netlink/route/netconf.h>
#include <netlink/route/route.h>

#include "wrenlib/address.h"

namespace vnxtest {

struct NetlinkDeleter {
    void operator()(nl_sock* socket) const { nl_socket_free(socket); }
    void operator()(nl_cache* cache) const { nl_cache_free(cache); }
    void operator()(rtnl_link* link) const { rtnl_link_put(link); }
    void operator()(rtnl_route* route) const { rtnl_route_put(route); }
    void operator()(rtnl_netconf* settings) const { rtnl_netconf_put(settings); }
    void operator()(nl_msg* message) const { nlmsg_free(message); }
};
template <typename T>
using NetlinkOwner = std::unique_ptr<T, NetlinkDeleter>;

// A connected rtnetlink socket, or null with the errno value of the failure in `code`.
NetlinkOwner<nl_sock> OpenNetlink(std::uint32_t& code);

// One kind of object, dumped whole. Null with the errno value of the failure in `code`.
NetlinkOwner<nl_cache> DumpRoutes(std::uint32_t& code);    // IPv4
NetlinkOwner<nl_cache> DumpAddresses(std::uint32_t& code); // IPv4 among others
NetlinkOwner<nl_cache> DumpNeighbours(std::uint32_t& code);
NetlinkOwner<nl_cache> DumpNetworkSettings(std::uint32_t& code);

// The errno value nearest to a negative libnl result. Never one of the codes that mean "buffer too
// small" to the host tables.
std::uint32_t NetlinkErrno(int result);

// 0.0.0.0 when `address` is null or no IPv4 address.
Ipv4Address ToIpv4(nl_addr* address);

// The mask of a prefix length; anything above 32 counts as 32.
Ipv4Address PrefixMask(unsigned length);

} // namespace vnxtest
