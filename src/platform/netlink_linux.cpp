#include "platform/netlink_linux.h"

#include <array>
#include <cerrno>
#include <cstring>

#include <netlink/errno.h>
#include <sys/socket.h>

namespace vnxtest {

namespace {

template <typename Allocate>
NetlinkOwner<nl_cache> Dump(std::uint32_t& code, Allocate allocate) {
    const NetlinkOwner<nl_sock> socket = OpenNetlink(code);
    nl_cache* cache = nullptr;
    if (socket != nullptr) {
        const int result = allocate(socket.get(), &cache);
        code = result < 0 ? NetlinkErrno(result) : 0;
    }
    return NetlinkOwner<nl_cache>(code == 0 ? cache : nullptr);
}

} // namespace

NetlinkOwner<nl_sock> OpenNetlink(std::uint32_t& code) {
    NetlinkOwner<nl_sock> socket(nl_socket_alloc());
    if (socket == nullptr) {
        code = ENOMEM;
        return nullptr;
    }
    const int result = nl_connect(socket.get(), NETLINK_ROUTE);
    code = result < 0 ? NetlinkErrno(result) : 0;
    return code == 0 ? std::move(socket) : nullptr;
}

NetlinkOwner<nl_cache> DumpRoutes(std::uint32_t& code) {
    return Dump(code, [](nl_sock* socket, nl_cache** cache) {
        return rtnl_route_alloc_cache(socket, AF_INET, 0, cache);
    });
}

NetlinkOwner<nl_cache> DumpAddresses(std::uint32_t& code) {
    return Dump(code, rtnl_addr_alloc_cache);
}

NetlinkOwner<nl_cache> DumpNeighbours(std::uint32_t& code) {
    return Dump(code, rtnl_neigh_alloc_cache);
}

NetlinkOwner<nl_cache> DumpNetworkSettings(std::uint32_t& code) {
    return Dump(code, rtnl_netconf_alloc_cache);
}

std::uint32_t NetlinkErrno(int result) {
    switch (result < 0 ? -result : result) {
    case NLE_INTR:
        return EINTR;
    case NLE_BAD_SOCK:
        return EBADF;
    case NLE_AGAIN:
        return EAGAIN;
    case NLE_NOMEM:
        return ENOMEM;
    case NLE_INVAL:
        return EINVAL;
    case NLE_RANGE:
        return ERANGE;
    case NLE_OPNOTSUPP:
        return EOPNOTSUPP;
    case NLE_AF_NOSUPPORT:
        return EAFNOSUPPORT;
    case NLE_OBJ_NOTFOUND:
        return ESRCH;
    case NLE_NODEV:
        return ENODEV;
    case NLE_PERM:
    case NLE_NOACCESS:
        return EPERM;
    default:
        return EIO;
    }
}

Ipv4Address ToIpv4(nl_addr* address) {
    if (address == nullptr || nl_addr_get_family(address) != AF_INET || nl_addr_get_len(address) != 4) {
        return {};
    }
    std::array<std::uint8_t, 4> bytes{};
    std::memcpy(bytes.data(), nl_addr_get_binary_addr(address), bytes.size());
    return Ipv4Address(bytes);
}

Ipv4Address PrefixMask(unsigned length) {
    if (length == 0) {
        return {};
    }
    return Ipv4Address::FromHost(length >= 32 ? 0xFFFFFFFFU : ~(0xFFFFFFFFU >> length));
}

} // namespace vnxtest
