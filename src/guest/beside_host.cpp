#include "guest/beside_host.h"

#include <algorithm>

#include "open/guest_rules.h"

namespace vnxtest {

namespace {

constexpr std::wstring_view kTitle = L"Address Warning";

constexpr ProceedQuestion kMacOfHost = {
    kTitle, L"Your guest MAC is that of a host adapter!", kProceedContent,
    L"The hardware address you defined for your virtual interface is already used by an adapter of this system.\n\nThe guest would answer packets which are meant for your system, and both would disturb each other."};
constexpr ProceedQuestion kIpOfHost = {
    kTitle, L"Your guest IP is your own!", kProceedContent,
    L"The IP address you defined for your virtual interface is already used by this system.\n\nThe guest would answer for your system, and connections of your system are likely to break."};
constexpr ProceedQuestion kIpOfGateway = {
    kTitle, L"Your guest IP is that of a gateway!", kProceedContent,
    L"The IP address you defined for your virtual interface is already used by a gateway of this system.\n\nThe guest would take the place of the gateway, and your system is likely to lose its way to other networks."};
constexpr ProceedQuestion kIpUnusable = {
    kTitle, L"Your guest IP cannot be a workstation's!", kProceedContent,
    L"The IP address you defined for your virtual interface is reserved: it stands for this network, for this system itself, for a group or for everybody.\n\nNo other system will send packets to it, and the test is unlikely to succeed."};

HostFacts FactsOf(const InterfaceAddresses& guest, const HostNetwork& host) {
    HostFacts facts;
    for (const HostAdapter& adapter : host.Adapters()) {
        facts.macs.push_back(adapter.mac);
        facts.addresses.push_back(adapter.address);
        if (!adapter.gateway.IsZero()) {
            facts.gateways.push_back(adapter.gateway);
        }
    }
    if (host.Addresses()) {
        const auto own = std::ranges::find(*host.Addresses(), guest.adapterIp, &HostAddress::address);
        for (const HostAddress& row : *host.Addresses()) {
            facts.addresses.push_back(row.address);
            // The adapter's further addresses, too, each with its subnet.
            if (own != host.Addresses()->end() && row.interfaceIndex == own->interfaceIndex) {
                facts.adapter.push_back({row.address, row.mask});
            }
        }
    }
    if (host.Routes()) {
        for (const HostRoute& row : *host.Routes()) {
            facts.gateways.push_back(row.nextHop);
        }
    }
    if (host.HasDefaultGateway()) {
        facts.gateways.push_back(host.DefaultGateway());
    }
    return facts;
}

} // namespace

std::optional<ProceedQuestion> QuestionBesideHost(const InterfaceAddresses& guest, const HostNetwork& host) {
    const HostFacts facts = FactsOf(guest, host);
    // Without a given MAC address it gets one that no adapter has.
    if (!guest.guestMac.IsZero() && JudgeMac(guest.guestMac, facts) == Refusal::MacOfHost) {
        return kMacOfHost;
    }
    switch (JudgeIp(guest.guestIp, facts)) {
    case Refusal::IpOfHost:
        return kIpOfHost;
    case Refusal::IpOfGateway:
        return kIpOfGateway;
    case Refusal::IpUnusable:
        return kIpUnusable;
    default:
        return std::nullopt;
    }
}

} // namespace vnxtest
