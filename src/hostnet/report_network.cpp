#include "hostnet/report_sections.h"
#include "wrenlib/log.h"

namespace vnxtest {

namespace {

std::wstring NodeTypeText(NodeType type) {
    switch (type) {
    case NodeType::Broadcast:
        return L"Broadcast";
    case NodeType::PeerToPeer:
        return L"Peer to peer";
    case NodeType::Mixed:
        return L"Mixed";
    case NodeType::Hybrid:
        return L"Hybrid";
    default:
        return L"(unknown)";
    }
}

void WriteParameters(const NetworkParameters& parameters) {
    LogMsg(L"  Host Name . . . . . . . . . : %s\n", parameters.hostName);
    LogMsg(L"  Node Type . . . . . . . . . : %s\n", NodeTypeText(parameters.nodeType));
    const auto& servers = parameters.dnsServers;
    LogMsg(L"  DNS Servers . . . . . . . . : %s\n",
           servers.empty() ? std::wstring(L"(none)") : servers.front());
    for (std::size_t i = 1; i < servers.size(); ++i) {
        LogMsg(L"%32s%s\n", std::wstring(), servers[i]);
    }
    LogMsg(L"  IP Routing Enabled. . . . . : %s\n",
           std::wstring(parameters.forwardsPackets.value_or(false) ? L"yes" : L"no"));
    LogMsg(L"\n");
}

void WriteRoutes(const HostNetwork& host, const std::vector<HostRoute>& routes) {
    LogMsg(L"  Network Address          Netmask  Gateway Address        Interface  Metric\n");
    for (const HostRoute& row : routes) {
        LogMsg(L"  %15s %16s %16s %16s %7d\n", FormatIPAddr(row.destination), FormatIPAddr(row.mask),
               FormatIPAddr(row.nextHop), host.GetInterfaceIPString(row.interfaceIndex),
               static_cast<std::int64_t>(row.metric));
    }
}

} // namespace

void WriteNetworkInformation(HostNetwork& host) {
    LogMsg(L"-------------------------  Network Information  -------------------------\n\n");
    if (host.Parameters()) {
        WriteParameters(*host.Parameters());
    }
    if (host.Routes()) {
        WriteRoutes(host, *host.Routes());
    }
    const bool known = host.FindDefaultGateway();
    LogMsg(L"\n  Default gateway:  %s  (%s)\n\n", known ? host.DefaultGatewayText() : std::wstring(L"(none)"),
           host.DefaultGatewayMac().IsZero() ? std::wstring(L"unresponsive") : host.DefaultGatewayMacText());
}

} // namespace vnxtest
