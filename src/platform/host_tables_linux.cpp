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

#include <unistd.h>

#include "netlink/addresses.h"
#include "netlink/routes.h"
#include "platform/arp_probe_linux.h"
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

Bytes MakeParameters() {
    ParametersHead head;
    gethostname(head.hostName, sizeof head.hostName - 1);
    head.enableRouting = IsForwarding().value_or(false) ? 1 : 0;
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

void AppendRoute(const KernelRoute& route, std::vector<RawRouteRow>& rows) {
    RawRouteRow row;
    row.destination = route.destination.Memory();
    row.mask = route.mask.Memory();
    row.metrics[0] = route.metric;
    if (route.kind == KernelRouteKind::Refused) {
        row.type = kRouteTypeInvalid;
        rows.push_back(row);
    }
    for (const KernelNextHop& hop : route.nextHops) {
        row.nextHop = hop.gateway.Memory();
        row.interfaceIndex = hop.link;
        rows.push_back(row);
    }
}

std::uint32_t MakeRouteTable(Bytes& table) {
    std::vector<KernelRoute> routes;
    if (const int code = ListRoutes(routes)) {
        return static_cast<std::uint32_t>(code);
    }
    std::vector<RawRouteRow> rows;
    for (const KernelRoute& route : routes) {
        AppendRoute(route, rows);
    }
    // Rows of one destination stay in the kernel's order (the longer mask, then the lower metric first).
    std::ranges::stable_sort(
        rows, {}, [](const RawRouteRow& row) { return Ipv4Address::FromMemory(row.destination).Host(); });
    table = MakeTable(rows);
    return 0;
}

std::uint32_t MakeAddressTable(Bytes& table) {
    std::vector<KernelAddress> addresses;
    if (const int code = ListAddresses(addresses)) {
        return static_cast<std::uint32_t>(code);
    }
    std::vector<RawAddressRow> rows;
    for (const KernelAddress& address : addresses) {
        rows.push_back({address.address.Memory(), address.link, address.mask.Memory()});
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
