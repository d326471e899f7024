#include "netlink/neighbours.h"

#include <vector>

#include <linux/neighbour.h>
#include <linux/rtnetlink.h>
#include <sys/socket.h>

#include "netlink/conversation.h"

namespace vnxtest {

namespace {

struct Row {
    Ipv4Address address;
    std::uint32_t link = 0;
    KernelNeighbour neighbour;
};

void Append(rtnl_neigh* row, std::vector<Row>& rows) {
    constexpr int kUsable = NUD_REACHABLE | NUD_STALE | NUD_DELAY | NUD_PROBE | NUD_PERMANENT;
    if (rtnl_neigh_get_family(row) != AF_INET) {
        return;
    }
    Row& value = rows.emplace_back();
    value.address = ToIpv4(rtnl_neigh_get_dst(row));
    value.link = static_cast<std::uint32_t>(rtnl_neigh_get_ifindex(row));
    const int state = rtnl_neigh_get_state(row);
    value.neighbour.failed = (state & NUD_FAILED) != 0;
    const nl_addr* const mac = rtnl_neigh_get_lladdr(row);
    if ((state & kUsable) != 0 && mac != nullptr && nl_addr_get_len(mac) == MacAddress().Bytes().size()) {
        value.neighbour.mac = ToMac(mac);
    }
}

} // namespace

KernelNeighbour FindNeighbour(Ipv4Address address, std::uint32_t link) {
    ndmsg header{};
    header.ndm_family = AF_INET;
    const auto rows = Dump<rtnl_neigh>(L"RTM_GETNEIGH", RTM_GETNEIGH, header, Append);
    for (const Row& row : rows.value_or(std::vector<Row>())) {
        if (row.link == link && row.address == address) {
            return row.neighbour;
        }
    }
    return {};
}

} // namespace vnxtest
