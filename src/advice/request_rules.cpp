// The rules about pings for the guest that were ignored, and about errors that came in the place of replies.
#include <algorithm>

#include "advice/rules.h"
#include "advice/wording.h"
#include "wrenlib/format.h"

namespace vnxtest {

namespace {

struct Wording {
    const wchar_t* noun; // what is counted
    const wchar_t* seen; // with places for the counted noun, the guest, "was" or "were", and the senders
    const wchar_t* means;
    const wchar_t* action;
};

// Several kinds that are told as one, their counts under these names.
struct Kind {
    IgnoredPing kind;
    const char* name;
};

SeenList SeeIgnored(const Observations& observations, std::initializer_list<Kind> kinds,
                    const Wording& wording) {
    SeenList list;
    for (const InterfaceObservations& guest : observations.interfaces) {
        std::uint64_t count = 0;
        std::vector<Ipv4Address> senders;
        Evidence evidence;
        for (const Kind& each : kinds) {
            const IgnoredPings::Kind& ignored = guest.Ignored(each.kind);
            count += ignored.count;
            evidence.emplace_back(each.name, ignored.count);
            for (const Ipv4Address sender : ignored.senders) {
                if (std::ranges::find(senders, sender) == senders.end()) {
                    senders.push_back(sender);
                }
            }
        }
        if (count == 0) {
            continue;
        }
        evidence.emplace_back("senders", TextsOf(senders));
        list.push_back({guest.number,
                        Sprintf(wording.seen, Counted(count, wording.noun), NameOfGuest(observations, guest),
                                std::wstring(count == 1 ? L"was" : L"were"), Enumerated(senders)),
                        wording.means, wording.action, std::move(evidence)});
    }
    return list;
}

} // namespace

SeenList SeeDontFragmentRequests(const Observations& observations) {
    return SeeIgnored(
        observations, {{IgnoredPing::RequestDontFragment, "count"}},
        {L"echo request", L"%s for %s %s ignored for the Don't-Fragment bit alone, last from %s.",
         L"The guest takes a packet with that bit for a fragment and does not answer it, so the sender takes the guest for dead. Linux sets the bit in what its ping and most other programs send; Windows does not.",
         L"Ping without the bit: on Linux with \"ping -M dont\". For fping and others, \"sysctl -w net.ipv4.ip_no_pmtu_disc=1\" on the sender takes it away."});
}

SeenList SeeRequestsWithoutData(const Observations& observations) {
    return SeeIgnored(
        observations, {{IgnoredPing::RequestWithoutData, "count"}},
        {L"echo request", L"%s for %s %s ignored for being without data (\"Too tiny\"), last from %s.",
         L"The guest answers a ping only if it carries at least one byte. Scanners such as nmap -PE, nping and hping3 send none unless they are told to, and take the guest for dead.",
         L"Have the sender put data in: nmap -PE --data-length 32, nping --icmp --data-length 32, hping3 -1 -d 32, ping -M dont -s 32."});
}

SeenList SeeFragments(const Observations& observations) {
    return SeeIgnored(
        observations, {{IgnoredPing::Fragment, "count"}},
        {L"fragment", L"%s of pings for %s %s ignored, last from %s.",
         L"The guest does not put fragments together: a ping or a reply that was too large for a link on its way is lost.",
         L"Use smaller pings: at most 1472 bytes of data fit a usual Ethernet link, and fewer a tunnel."});
}

SeenList SeeBadChecksums(const Observations& observations) {
    return SeeIgnored(
        observations, {{IgnoredPing::BadIpChecksum, "ipHeader"}, {IgnoredPing::BadIcmpChecksum, "icmp"}},
        {L"ping", L"%s for %s %s ignored for a bad checksum, last from %s.",
         L"They were damaged on their way, or they are this host's own and its adapter was to fill the checksum in (checksum offload).",
         L"If the sender is this host, turn the adapter's transmit checksum offload off, or ping from another system; else look for a bad cable, adapter or switch."});
}

SeenList SeeRequestsWithOptions(const Observations& observations) {
    return SeeIgnored(
        observations, {{IgnoredPing::RequestWithOptions, "count"}},
        {L"echo request", L"%s for %s %s ignored for options in the IP header, last from %s.",
         L"The guest answers only packets with a plain header of 20 bytes.",
         L"Leave the options out: record route and time stamps (ping -R, ping -T) and source routes."});
}

SeenList SeeVlanTags(const Observations& observations) {
    return SeeIgnored(
        observations, {{IgnoredPing::VlanTagged, "count"}},
        {L"frame", L"%s for %s %s ignored for a VLAN tag, last from %s.",
         L"The guest understands untagged frames only: the adapter is connected to a trunk, or the sender is in a VLAN of its own.",
         L"Have the switch take the tags off this port, or give the guest an adapter of the host that is in that VLAN."});
}

SeenList SeeDontFragmentReplies(const Observations& observations) {
    return SeeIgnored(
        observations, {{IgnoredPing::ReplyDontFragment, "count"}},
        {L"echo reply", L"%s for %s %s ignored for the Don't-Fragment bit, last from %s.",
         L"The target did answer. The guest takes a packet with that bit for a fragment, so these pings count as lost.",
         L"Ping another system, or have the target answer without the bit."});
}

SeenList SeeForeignReplies(const Observations& observations) {
    return SeeIgnored(
        observations, {{IgnoredPing::ReplyForeign, "count"}},
        {L"echo reply", L"%s for %s %s ignored for an identifier that is not this guest's, last from %s.",
         L"They answer pings of somebody else with the guest's address: another station or program that uses it, or an earlier run of this one. Or a device on the way changes identifiers.",
         L"If it goes on, look for the other user of the address, or give the guest another one."});
}

SeenList SeeTooLarge(const Observations& observations) {
    constexpr std::uint32_t kHeaders = 28;
    if (observations.pingTarget.IsZero()) {
        return {}; // the guest has sent none: what comes is about another's, or forged
    }
    SeenList list = SeeIgnored(
        observations, {{IgnoredPing::ErrorTooLarge, "count"}},
        {L"error", L"%s for %s %s read, last from %s: \"fragmentation needed\".",
         L"The guest's pings are too large for a link on their way and were thrown away there.", L""});
    for (Seen& seen : list) {
        const auto guest =
            std::ranges::find(observations.interfaces, seen.interfaceNumber, &InterfaceObservations::number);
        const std::uint32_t mtu = guest->Ignored(IgnoredPing::ErrorTooLarge).detail;
        seen.evidence.emplace_back("mtu", std::uint64_t{mtu});
        seen.action = mtu > kHeaders ? Sprintf(L"That link takes packets of %u bytes: use --size %u or less.",
                                               mtu, mtu - kHeaders)
                                     : std::wstring(L"Use smaller pings.");
    }
    return list;
}

SeenList SeeUnreachable(const Observations& observations) {
    if (observations.pingTarget.IsZero()) {
        return {};
    }
    SeenList list =
        SeeIgnored(observations, {{IgnoredPing::ErrorUnreachable, "count"}},
                   {L"error", L"%s for %s %s read, last from %s: \"destination unreachable\".",
                    L"Who sent them had to pass the guest's pings on and could not, or would not.",
                    L"Look there: at its routes, whether the target is up, and at its packet filter."});
    for (Seen& seen : list) {
        const auto guest =
            std::ranges::find(observations.interfaces, seen.interfaceNumber, &InterfaceObservations::number);
        seen.evidence.emplace_back("code",
                                   std::uint64_t{guest->Ignored(IgnoredPing::ErrorUnreachable).detail});
    }
    return list;
}

} // namespace vnxtest
