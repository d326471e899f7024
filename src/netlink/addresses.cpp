#include "netlink/addresses.h"

#include <cerrno>

#include <linux/if_addr.h>
#include <linux/rtnetlink.h>
#include <sys/socket.h>

#include "netlink/conversation.h"

namespace vnxtest {

namespace {

void Append(rtnl_addr* row, std::vector<KernelAddress>& addresses) {
    if (rtnl_addr_get_family(row) == AF_INET) {
        addresses.push_back({static_cast<std::uint32_t>(rtnl_addr_get_ifindex(row)),
                             ToIpv4(rtnl_addr_get_local(row)),
                             Ipv4Address::Mask(static_cast<unsigned>(rtnl_addr_get_prefixlen(row))),
                             (rtnl_addr_get_flags(row) & IFA_F_PERMANENT) == 0});
    }
}

NetlinkOwner<nl_addr> ToNetlink(Ipv4Address address) {
    return NetlinkOwner<nl_addr>(nl_addr_build(AF_INET, address.Bytes().data(), address.Bytes().size()));
}

// Null without memory.
NetlinkOwner<rtnl_addr> MakePeerAddress(std::uint32_t link, Ipv4Address own, Ipv4Address peer) {
    constexpr int kOneHost = 32;
    NetlinkOwner<rtnl_addr> address(rtnl_addr_alloc());
    const auto local = ToNetlink(own);
    const auto behind = ToNetlink(peer);
    if (address == nullptr || local == nullptr || behind == nullptr) {
        return nullptr;
    }
    // The peer's 32 bits make the one route that comes with the address.
    nl_addr_set_prefixlen(behind.get(), kOneHost);
    rtnl_addr_set_ifindex(address.get(), static_cast<int>(link));
    rtnl_addr_set_family(address.get(), AF_INET);
    rtnl_addr_set_local(address.get(), local.get());
    rtnl_addr_set_peer(address.get(), behind.get());
    rtnl_addr_set_prefixlen(address.get(), kOneHost);
    return address;
}

template <typename Build>
Result<void> AskFor(std::wstring_view call, const NetlinkOwner<rtnl_addr>& address, Build build) {
    nl_msg* request = nullptr;
    if (address == nullptr || build(address.get(), 0, &request) < 0) {
        return FailedCall(call, ENOMEM);
    }
    return Ask(call, NetlinkOwner<nl_msg>(request).get(), [](nl_object*) {});
}

} // namespace

Result<std::vector<KernelAddress>> ListAddresses() {
    ifaddrmsg header{};
    header.ifa_family = AF_INET;
    return Dump<rtnl_addr>(L"RTM_GETADDR", RTM_GETADDR, header, Append);
}

Result<void> AddPeerAddress(std::uint32_t link, Ipv4Address own, Ipv4Address peer) {
    return AskFor(L"RTM_NEWADDR", MakePeerAddress(link, own, peer), rtnl_addr_build_add_request);
}

Result<void> RemovePeerAddress(std::uint32_t link, Ipv4Address own, Ipv4Address peer) {
    return AskFor(L"RTM_DELADDR", MakePeerAddress(link, own, peer), rtnl_addr_build_delete_request);
}

} // namespace vnxtest
