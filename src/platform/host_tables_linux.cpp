// The host tables of Linux: rtnetlink, the resolver configuration and the kernel's settings.
//
// A table is taken once and kept until a caller's buffer could hold it, so that the question for the
// size and the table that follows are of the same moment.
#include "platform/host_tables.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <fstream>
#include <iterator>

#include <linux/rtnetlink.h>
#include <sys/socket.h>
#include <unistd.h>

#include "platform/arp_probe_linux.h"
#include "platform/netlink_linux.h"
#include "platform/resolver_configuration.h"
#include "wrenlib/text.h"

namespace vnxtest {

const std::uint32_t kErrorNoAnswer = ETIMEDOUT;

namespace {

using Bytes = std::vector<std::uint8_t>;

constexpr char kResolverFile[] = "/etc/resolv.conf";
// Where systemd's local stub keeps the servers that it asks.
constexpr char kStubServersFile[] = "/run/systemd/resolve/resolv.conf";
constexpr std::string_view kStubAddress = "127.0.0.53";

std::string ReadFile(const char* path) {
    std::ifstream file(path, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(file), {});
}

// The head of the network parameters block; the server texts follow, each ended by a NUL.
struct ParametersHead {
    char hostName[256] = {};
    std::uint32_t enableRouting = 0;
    std::uint32_t serverCount = 0;
};

std::vector<std::string> NameServers() {
    std::vector<std::string> servers = ParseNameServers(ReadFile(kResolverFile));
    if (std::ranges::find(servers, kStubAddress) != servers.end()) {
        for (const std::string& server : ParseNameServers(ReadFile(kStubServersFile))) {
            servers.push_back(server + " (asked by " + std::string(kStubAddress) + ")");
        }
    }
    return servers;
}

// The kernel is asked, not its file: that is not everywhere. Unknown is false.
bool IsForwarding() {
    std::uint32_t code = 0;
    const NetlinkOwner<nl_cache> settings = DumpNetworkSettings(code);
    const NetlinkOwner<rtnl_netconf> all(settings != nullptr ? rtnl_netconf_get_all(settings.get(), AF_INET)
                                                             : nullptr);
    int forwarding = 0;
    return all != nullptr && rtnl_netconf_get_forwarding(all.get(), &forwarding) == 0 && forwarding != 0;
}

Bytes MakeParameters() {
    ParametersHead head;
    gethostname(head.hostName, sizeof head.hostName - 1);
    head.enableRouting = IsForwarding() ? 1 : 0;
    const std::vector<std::string> servers = NameServers();
    head.serverCount = static_cast<std::uint32_t>(servers.size());
    Bytes bytes(sizeof head);
    std::memcpy(bytes.data(), &head, sizeof head);
    for (const std::string& server : servers) {
        bytes.insert(bytes.end(), server.c_str(), server.c_str() + server.size() + 1);
    }
    return bytes;
}

template <typename Row>
Bytes MakeTable(const std::vector<Row>& rows) {
    const auto count = static_cast<std::uint32_t>(rows.size());
    Bytes bytes(sizeof count + rows.size() * sizeof(Row));
    std::memcpy(bytes.data(), &count, sizeof count);
    if (!rows.empty()) {
        std::memcpy(bytes.data() + sizeof count, rows.data(), rows.size() * sizeof(Row));
    }
    return bytes;
}

void AppendRoute(rtnl_route* route, std::vector<RawRouteRow>& rows) {
    RawRouteRow row;
    nl_addr* destination = rtnl_route_get_dst(route);
    row.destination = ToIpv4(destination).Memory();
    row.mask = PrefixMask(destination != nullptr ? nl_addr_get_prefixlen(destination) : 0).Memory();
    row.protocol = rtnl_route_get_protocol(route);
    row.metrics[0] = rtnl_route_get_priority(route);
    const int type = rtnl_route_get_type(route);
    if (type == RTN_BLACKHOLE || type == RTN_UNREACHABLE || type == RTN_PROHIBIT || type == RTN_THROW) {
        row.type = kRouteTypeInvalid;
        rows.push_back(row);
        return;
    }
    for (int i = 0; i < rtnl_route_get_nnexthops(route); ++i) {
        rtnl_nexthop* nextHop = rtnl_route_nexthop_n(route, i);
        row.nextHop = ToIpv4(rtnl_route_nh_get_gateway(nextHop)).Memory();
        row.interfaceIndex = static_cast<std::uint32_t>(rtnl_route_nh_get_ifindex(nextHop));
        rows.push_back(row);
    }
}

// The main table alone: the others hold the host's own addresses, or serve rules of their owners.
std::uint32_t MakeRouteTable(Bytes& table) {
    std::uint32_t code = 0;
    const NetlinkOwner<nl_cache> cache = DumpRoutes(code);
    if (cache == nullptr) {
        return code;
    }
    std::vector<RawRouteRow> rows;
    for (nl_object* object = nl_cache_get_first(cache.get()); object != nullptr;
         object = nl_cache_get_next(object)) {
        auto* route = reinterpret_cast<rtnl_route*>(object);
        if (rtnl_route_get_family(route) == AF_INET && rtnl_route_get_table(route) == RT_TABLE_MAIN) {
            AppendRoute(route, rows);
        }
    }
    // Rows of one destination stay in the kernel's order (the longer mask, then the lower metric first).
    std::ranges::stable_sort(
        rows, {}, [](const RawRouteRow& row) { return Ipv4Address::FromMemory(row.destination).Host(); });
    table = MakeTable(rows);
    return 0;
}

// In the kernel's order: interface by interface, an interface's primary address first.
std::uint32_t MakeAddressTable(Bytes& table) {
    std::uint32_t code = 0;
    const NetlinkOwner<nl_cache> cache = DumpAddresses(code);
    if (cache == nullptr) {
        return code;
    }
    std::vector<RawAddressRow> rows;
    for (nl_object* object = nl_cache_get_first(cache.get()); object != nullptr;
         object = nl_cache_get_next(object)) {
        auto* address = reinterpret_cast<rtnl_addr*>(object);
        if (rtnl_addr_get_family(address) != AF_INET) {
            continue;
        }
        RawAddressRow row;
        row.address = ToIpv4(rtnl_addr_get_local(address)).Memory();
        row.interfaceIndex = static_cast<std::uint32_t>(rtnl_addr_get_ifindex(address));
        row.mask = PrefixMask(static_cast<unsigned>(rtnl_addr_get_prefixlen(address))).Memory();
        row.broadcast = ToIpv4(rtnl_addr_get_broadcast(address)).Memory();
        rows.push_back(row);
    }
    table = MakeTable(rows);
    return 0;
}

// Delivers `kept`, made anew when there is none, and forgets it once it was delivered.
template <typename Make>
std::uint32_t Deliver(Bytes& kept, void* buffer, std::uint32_t* size, Make make) {
    if (kept.empty()) {
        if (const std::uint32_t code = make(kept)) {
            return code;
        }
    }
    const std::uint32_t code = FillFrom(kept.data(), kept.size(), buffer, size);
    if (code == 0) {
        kept.clear();
    }
    return code;
}

class LinuxHostTables final : public HostTables {
public:
    std::uint32_t GetNetworkParams(void* buffer, std::uint32_t* size) override {
        return Deliver(m_parameters, buffer, size, [](Bytes& bytes) {
            bytes = MakeParameters();
            return std::uint32_t{0};
        });
    }

    std::uint32_t GetIpForwardTable(void* buffer, std::uint32_t* size) override {
        return Deliver(m_routes, buffer, size, MakeRouteTable);
    }

    std::uint32_t GetIpAddrTable(void* buffer, std::uint32_t* size) override {
        return Deliver(m_addresses, buffer, size, MakeAddressTable);
    }

    NetworkParameters DecodeNetworkParams(const Bytes& buffer) const override {
        NetworkParameters parameters;
        ParametersHead head;
        if (buffer.size() < sizeof head) {
            return parameters;
        }
        std::memcpy(&head, buffer.data(), sizeof head);
        parameters.hostName =
            ToWide(std::string_view(head.hostName, strnlen(head.hostName, sizeof head.hostName)));
        parameters.enableRouting = head.enableRouting != 0;
        auto at = buffer.begin() + sizeof head;
        for (std::uint32_t i = 0; i < head.serverCount && at != buffer.end(); ++i) {
            const auto end = std::find(at, buffer.end(), std::uint8_t{0});
            parameters.dnsServers.push_back(ToWide(std::string(at, end)));
            at = end == buffer.end() ? end : end + 1;
        }
        return parameters;
    }

    std::uint32_t SendARP(Ipv4Address destination, Ipv4Address source, std::uint8_t* mac,
                          std::uint32_t* length) override {
        MacAddress answer;
        const std::uint32_t code = ProbeArp(destination, source, answer);
        if (code == 0) {
            *length = std::min<std::uint32_t>(*length, 6);
            std::memcpy(mac, answer.Bytes().data(), *length);
        }
        return code;
    }

private:
    Bytes m_parameters;
    Bytes m_routes;
    Bytes m_addresses;
};

} // namespace

std::unique_ptr<HostTables> MakeHostTables() {
    return std::make_unique<LinuxHostTables>();
}

} // namespace vnxtest
