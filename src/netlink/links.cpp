#include "netlink/links.h"

#include <cerrno>

#include <linux/rtnetlink.h>
#include <net/if.h>
#include <netlink/route/link/inet6.h>
#include <netlink/route/link/vlan.h>
#include <sys/socket.h>

#include "netlink/conversation.h"

namespace vnxtest {

namespace {

constexpr std::wstring_view kAskCall = L"RTM_GETLINK";
constexpr std::wstring_view kChangeCall = L"RTM_NEWLINK";

std::string TextOf(const char* text) {
    return text != nullptr ? text : "";
}

KernelLink ToValue(rtnl_link* row) {
    KernelLink link;
    link.index = static_cast<std::uint32_t>(rtnl_link_get_ifindex(row));
    link.name = TextOf(rtnl_link_get_name(row));
    link.hardwareType = rtnl_link_get_arptype(row);
    link.flags = rtnl_link_get_flags(row);
    link.promiscuity = rtnl_link_get_promiscuity(row);
    const nl_addr* const mac = rtnl_link_get_addr(row);
    if (mac != nullptr && nl_addr_get_len(mac) == MacAddress().Bytes().size()) {
        link.mac = ToMac(mac);
    }
    link.mtu = rtnl_link_get_mtu(row);
    link.master = static_cast<std::uint32_t>(rtnl_link_get_master(row));
    link.below = static_cast<std::uint32_t>(rtnl_link_get_link(row));
    if (rtnl_link_is_vlan(row) != 0) {
        link.vlan = static_cast<std::uint16_t>(rtnl_link_vlan_get_id(row));
    }
    link.kind = TextOf(rtnl_link_get_type(row));
    link.alias = TextOf(rtnl_link_get_ifalias(row));
    link.sendDrops = rtnl_link_get_stat(row, RTNL_LINK_TX_DROPPED);
    return link;
}

NetlinkOwner<rtnl_link> NumberedLink(std::uint32_t index) {
    NetlinkOwner<rtnl_link> link(rtnl_link_alloc());
    if (link != nullptr) {
        rtnl_link_set_ifindex(link.get(), static_cast<int>(index));
    }
    return link;
}

Result<void> Change(std::uint32_t index, rtnl_link* changes) {
    const NetlinkOwner<rtnl_link> link = NumberedLink(index);
    nl_msg* request = nullptr;
    if (link == nullptr || rtnl_link_build_change_request(link.get(), changes, 0, &request) < 0) {
        return FailedCall(kChangeCall, ENOMEM);
    }
    return Ask(kChangeCall, NetlinkOwner<nl_msg>(request).get(), [](nl_object*) {});
}

} // namespace

Result<std::vector<KernelLink>> ListLinks() {
    return Dump<rtnl_link, KernelLink>(
        kAskCall, RTM_GETLINK, ifinfomsg{},
        [](rtnl_link* row, std::vector<KernelLink>& values) { values.push_back(ToValue(row)); });
}

Result<KernelLink> FindLink(std::uint32_t index) {
    ifinfomsg header{};
    header.ifi_index = static_cast<int>(index);
    std::optional<KernelLink> link;
    auto asked = Ask(kAskCall, MakeRequest(RTM_GETLINK, 0, header).get(),
                     [&](nl_object* object) { link = ToValue(reinterpret_cast<rtnl_link*>(object)); });
    if (!asked) {
        return PassOn(asked);
    }
    if (!link) {
        return FailedCall(kAskCall, ENODEV);
    }
    return std::move(*link);
}

Result<void> ChangeLink(std::uint32_t index, const LinkChange& change) {
    const NetlinkOwner<rtnl_link> changes(rtnl_link_alloc());
    if (changes == nullptr) {
        return FailedCall(kChangeCall, ENOMEM);
    }
    if (change.mtu != 0) {
        rtnl_link_set_mtu(changes.get(), change.mtu);
    }
    if (change.queueLength != 0) {
        rtnl_link_set_txqlen(changes.get(), change.queueLength);
    }
    if (change.up) {
        (*change.up ? rtnl_link_set_flags : rtnl_link_unset_flags)(changes.get(), IFF_UP);
    }
    return Change(index, changes.get());
}

Result<void> LeaveOutIpv6(std::uint32_t index) {
    const NetlinkOwner<rtnl_link> changes(rtnl_link_alloc());
    if (changes == nullptr ||
        rtnl_link_inet6_set_addr_gen_mode(changes.get(), rtnl_link_inet6_str2addrgenmode("none")) < 0) {
        return FailedCall(kChangeCall, ENOMEM);
    }
    return Change(index, changes.get());
}

} // namespace vnxtest
