// The host tables of Linux: the kernel's, and the resolver configuration.
#include "platform/network/host_tables.h"

#include <algorithm>
#include <array>
#include <fstream>
#include <iterator>

#include <unistd.h>

#include "netlink/addresses.h"
#include "netlink/routes.h"
#include "platform/network/arp_probe_linux.h"
#include "platform/network/resolver_configuration.h"
#include "wrenlib/text.h"

namespace vnxtest {

namespace {

constexpr char kResolverFile[] = "/etc/resolv.conf";
// The file with the servers that systemd's local stub asks.
constexpr char kStubServersFile[] = "/run/systemd/resolve/resolv.conf";
constexpr std::string_view kStubAddress = "127.0.0.53";

std::string ReadFile(const char* path) {
    std::ifstream file(path, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(file), {});
}

std::vector<std::string> NameServers() {
    std::vector<std::string> servers = ParseNameServers(ReadFile(kResolverFile));
    if (std::ranges::find(servers, kStubAddress) != servers.end()) {
        for (const std::string& server : ParseNameServers(ReadFile(kStubServersFile))) {
            servers.push_back(server + " (asked by " + std::string(kStubAddress) + ")");
        }
    }
    return servers;
}

void AppendRoute(const KernelRoute& kernel, std::vector<HostRoute>& routes) {
    HostRoute route{kernel.destination, kernel.mask, {}, 0, kernel.metric};
    if (kernel.kind == KernelRouteKind::Refused) {
        route.refuses = true;
        routes.push_back(route);
    }
    for (const KernelNextHop& hop : kernel.nextHops) {
        route.nextHop = hop.gateway;
        route.interfaceIndex = hop.link;
        routes.push_back(route);
    }
}

class LinuxHostTables final : public HostTables {
public:
    Result<NetworkParameters> ReadParameters() override {
        NetworkParameters parameters;
        std::array<char, 256> name{};
        gethostname(name.data(), name.size() - 1);
        parameters.hostName = ToWide(name.data());
        parameters.forwardsPackets = IsForwarding();
        for (const std::string& server : NameServers()) {
            parameters.dnsServers.push_back(ToWide(server));
        }
        return parameters;
    }

    Result<std::vector<HostRoute>> ReadRoutes() override {
        auto kernel = ListRoutes();
        if (!kernel) {
            return PassOn(kernel);
        }
        std::vector<HostRoute> routes;
        for (const KernelRoute& route : *kernel) {
            AppendRoute(route, routes);
        }
        // Stable: rows of one destination stay in the kernel's order (the longer mask, then the lower
        // metric first).
        std::ranges::stable_sort(routes, {}, &HostRoute::destination);
        return routes;
    }

    Result<std::vector<HostAddress>> ReadAddresses() override {
        auto kernel = ListAddresses();
        if (!kernel) {
            return PassOn(kernel);
        }
        std::vector<HostAddress> addresses;
        for (const KernelAddress& row : *kernel) {
            addresses.push_back({row.address, row.mask, row.link});
        }
        return addresses;
    }

    std::optional<MacAddress> SendARP(Ipv4Address destination, Ipv4Address source) override {
        const auto answer = ProbeArp(destination, source);
        return answer ? std::optional(*answer) : std::nullopt;
    }
};

} // namespace

std::unique_ptr<HostTables> MakeHostTables() {
    return std::make_unique<LinuxHostTables>();
}

} // namespace vnxtest
