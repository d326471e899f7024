// The rules about the guest's and the target's addresses beside those of the host.
#include <algorithm>

#include "advice/rules.h"
#include "advice/wording.h"
#include "packets/host_address.h"
#include "wrenlib/format.h"

namespace vnxtest {

namespace {

bool IsHosts(const Observations& observations, Ipv4Address address) {
    return std::ranges::find(observations.host.addresses, address) != observations.host.addresses.end();
}

std::wstring SubnetText(const InterfaceObservations& guest) {
    return Sprintf(L"%s with the mask %s", FormatIPAddr(guest.adapterIp & guest.netMask),
                   FormatIPAddr(guest.netMask));
}

// The interface of an unanswered ping test whose target is of another kind than the host itself.
const InterfaceObservations* Unanswered(const Observations& observations, LibraryKind library) {
    const InterfaceObservations* const guest = observations.UnansweredInterface();
    return guest != nullptr && observations.host.library == library ? guest : nullptr;
}

} // namespace

SeenList SeeTargetOnThisHost(const Observations& observations) {
    const InterfaceObservations* const guest = Unanswered(observations, LibraryKind::Capture);
    if (guest == nullptr || !IsHosts(observations, observations.ping->target)) {
        return {};
    }
    const std::wstring target = FormatIPAddr(observations.ping->target);
    return {
        {guest->number,
         Sprintf(L"The target %s is this host itself, and none of %s was answered.", target,
                 Counted(observations.ping->sent, L"ping")),
         L"What a capture library sends leaves through the adapter to the wire; the host's own network does not see it.",
         L"Ping another system; or on Linux use --library tun, which connects host and guest directly.",
         {{"target", target}, {"adapterIp", FormatIPAddr(guest->adapterIp)}}}};
}

SeenList SeeNoForwarding(const Observations& observations) {
    const InterfaceObservations* const guest = Unanswered(observations, LibraryKind::Device);
    if (guest == nullptr || observations.host.forwards.value_or(true) ||
        IsHosts(observations, observations.ping->target)) {
        return {};
    }
    const std::wstring target = FormatIPAddr(observations.ping->target);
    return {
        {guest->number,
         Sprintf(L"This host does not forward packets, and none of %s to %s was answered.",
                 Counted(observations.ping->sent, L"ping"), target),
         L"With the tun library the guest is behind the host like behind a router: it reaches the host, and others only if the host passes its packets on.",
         L"Turn forwarding on: sysctl -w net.ipv4.ip_forward=1. For a guest in the adapter's subnet also sysctl -w net.ipv4.conf.all.proxy_arp=1, so that replies find the way back.",
         {{"forwards", false}, {"target", target}}}};
}

SeenList SeeNoProxyArp(const Observations& observations) {
    const InterfaceObservations* const guest = Unanswered(observations, LibraryKind::Device);
    if (guest == nullptr || !observations.host.forwards.value_or(false) || !guest->wire ||
        guest->wire->hostAnswersArp.value_or(true) || IsHosts(observations, observations.ping->target)) {
        return {};
    }
    const std::wstring target = FormatIPAddr(observations.ping->target);
    const std::wstring address = FormatIPAddr(guest->guestIp);
    return {
        {guest->number,
         Sprintf(
             L"This host does not answer ARP for %s, which has the address %s of the adapter's network, and none of %s to %s was answered.",
             NameOfGuest(observations, *guest), address, Counted(observations.ping->sent, L"ping"), target),
         L"With the tun library the guest is behind the host. Stations of that network ask for it by ARP before they reply, and nobody answers.",
         L"Have the host answer: sysctl -w net.ipv4.conf.all.proxy_arp=1. Or give the guest an address of another network, and the others a route to it through this host.",
         {{"guestIp", address}, {"target", target}, {"hostAnswersArp", false}}}};
}

SeenList SeeNoGateway(const Observations& observations) {
    const InterfaceObservations* const guest = Unanswered(observations, LibraryKind::Capture);
    if (guest == nullptr || guest->netMask.IsZero() || observations.host.gateway ||
        guest->IsInSubnet(observations.ping->target) || IsHosts(observations, observations.ping->target)) {
        return {};
    }
    const std::wstring target = FormatIPAddr(observations.ping->target);
    return {{guest->number,
             Sprintf(L"No default gateway is known, and the target %s is outside the adapter's network %s.",
                     target, SubnetText(*guest)),
             L"Only a gateway passes packets on to another network, so the guest's pings have nowhere to go.",
             L"Name the gateway: --gateway ADDRESS, in the window Default gateway of the menu.",
             {{"target", target},
              {"adapterIp", FormatIPAddr(guest->adapterIp)},
              {"mask", FormatIPAddr(guest->netMask)}}}};
}

SeenList SeeGuestOutsideSubnet(const Observations& observations) {
    const InterfaceObservations* const guest = observations.UnansweredInterface();
    if (guest == nullptr || guest->netMask.IsZero() || guest->IsInSubnet(guest->guestIp)) {
        return {};
    }
    const std::wstring address = FormatIPAddr(guest->guestIp);
    return {
        {guest->number,
         Sprintf(L"%s, the address of %s, is outside the adapter's network %s, and none of %s was answered.",
                 address, NameOfGuest(observations, *guest), SubnetText(*guest),
                 Counted(observations.ping->sent, L"ping")),
         L"The target sends its replies for that address elsewhere, unless a route there leads them to this host.",
         Sprintf(
             L"Give the guest a free address of the adapter's network; or give the target, or its gateway, a route: on Linux ip route add %s via %s.",
             address, FormatIPAddr(guest->adapterIp)),
         {{"guestIp", address},
          {"adapterIp", FormatIPAddr(guest->adapterIp)},
          {"mask", FormatIPAddr(guest->netMask)}}}};
}

SeenList SeeReservedGuestAddress(const Observations& observations) {
    SeenList list;
    for (const InterfaceObservations& guest : observations.interfaces) {
        const Ipv4Address ip = guest.guestIp;
        if (ip.IsZero()) {
            continue; // none was given
        }
        std::wstring what;
        if (guest.IsInSubnet(ip) && IsSubnetNumber(ip, guest.netMask)) {
            what = L"the number of the adapter's network " + SubnetText(guest);
        } else if (guest.IsInSubnet(ip) && IsSubnetBroadcast(ip, guest.netMask)) {
            what = L"everybody's address in the adapter's network " + SubnetText(guest);
        } else if (!IsUnicast(ip) || IsReserved(ip)) {
            what = L"reserved, and no station's";
        } else {
            continue;
        }
        const std::wstring address = FormatIPAddr(ip);
        list.push_back(
            {guest.number,
             Sprintf(L"%s, the address of %s, is %s.", address, NameOfGuest(observations, guest), what),
             L"It stands for no single station: other systems send nothing to it that is meant for one, and need not answer what comes from it.",
             L"Give the guest an address of the adapter's network that nobody has, other than its lowest and its highest.",
             {{"guestIp", address}, {"mask", FormatIPAddr(guest.netMask)}}});
    }
    return list;
}

SeenList SeeGuestsAlike(const Observations& observations) {
    if (observations.interfaces.size() < 2) {
        return {};
    }
    const InterfaceObservations& first = observations.interfaces[0];
    const InterfaceObservations& second = observations.interfaces[1];
    const bool sameIp = !first.guestIp.IsZero() && first.guestIp == second.guestIp;
    const bool sameMac = !first.guestMac.IsZero() && first.guestMac == second.guestMac;
    if (!sameIp && !sameMac) {
        return {};
    }
    Evidence evidence;
    std::wstring seen;
    if (sameIp) {
        seen = Sprintf(L"Both interfaces of the guest have the IP address %s", FormatIPAddr(first.guestIp));
        evidence.emplace_back("guestIp", FormatIPAddr(first.guestIp));
    }
    if (sameMac) {
        seen += seen.empty() ? L"Both interfaces of the guest have" : L" and";
        seen += L" the MAC address " + FormatMACAddr(first.guestMac);
        evidence.emplace_back("guestMac", FormatMACAddr(first.guestMac));
    }
    return {{0, seen + L".",
             L"Both answer what is meant for one, and what one of them asks for may reach the other.",
             L"Give the second interface addresses of its own: --guest-ip2, --guest-mac2.",
             std::move(evidence)}};
}

} // namespace vnxtest
