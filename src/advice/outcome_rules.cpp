// The rules about how a ping test went, and about frames that were not read.
#include <algorithm>

#include "advice/rules.h"
#include "advice/wording.h"
#include "core/run_settings.h"
#include "packets/host_address.h"
#include "wrenlib/format.h"

namespace vnxtest {

namespace {

// Of the ping test's interface; false if the driver does not tell.
bool HasDropped(const Observations& observations) {
    return std::ranges::any_of(observations.interfaces, [&](const InterfaceObservations& each) {
        return each.number == observations.pingInterface && each.droppedByDriver.value_or(0) != 0;
    });
}

// A test that is over, of some length, with losses that this program is not to blame for.
const PingCourse* LossyTest(const Observations& observations) {
    constexpr std::uint64_t kFewest = 20; // of fewer pings no pattern can be seen
    const auto& ping = observations.ping;
    return ping && ping->over && ping->sent >= kFewest && ping->answered != 0 && ping->lost != 0 &&
                   !HasDropped(observations)
               ? &*ping
               : nullptr;
}

// Losses that do not depend on each other come in runs of 1 / (1 - share lost) on average; twice that is no
// chance.
bool AreBursts(const PingCourse& ping) {
    constexpr std::uint64_t kShortest = 3;
    return ping.longestLossRun >= kShortest &&
           ping.lost * (ping.sent - ping.lost) >= 2 * ping.lossRuns * ping.sent;
}

// The library says that `address` does not answer ARP.
bool IsSilent(const InterfaceObservations& guest, Ipv4Address address) {
    return guest.wire && std::ranges::find(guest.wire->silent, address, &SilentStation::address) !=
                             guest.wire->silent.end();
}

Evidence LossEvidence(const PingCourse& ping) {
    return {{"sent", ping.sent},
            {"lost", ping.lost},
            {"bursts", ping.lossRuns},
            {"longestBurst", ping.longestLossRun}};
}

} // namespace

SeenList SeeLateReplies(const Observations& observations) {
    constexpr std::uint64_t kTenth = 10;
    const auto& ping = observations.ping;
    if (!ping || !ping->over || ping->late == 0 || ping->late * kTenth < ping->sent) {
        return {};
    }
    constexpr std::uint32_t kStep = 100;
    const std::uint32_t enough =
        std::min(kPingTimeoutRange.highest, (ping->longestRoundTrip * 3 / 2 / kStep + 1) * kStep);
    return {{observations.pingInterface,
             Sprintf(L"%u of %s were answered too late, half of these by %u ms or more.", ping->late,
                     Counted(ping->sent, L"ping"), ping->medianLateness),
             Sprintf(L"The replies do come, but after the time-out of %u ms.", ping->timeout),
             Sprintf(L"Raise the time-out: --timeout %u.", enough),
             {{"late", ping->late},
              {"sent", ping->sent},
              {"medianLatenessMs", std::uint64_t{ping->medianLateness}},
              {"longestRoundTripMs", std::uint64_t{ping->longestRoundTrip}}}}};
}

SeenList SeeLossInBursts(const Observations& observations) {
    const PingCourse* const ping = LossyTest(observations);
    if (ping == nullptr || !AreBursts(*ping)) {
        return {};
    }
    return {
        {observations.pingInterface,
         Sprintf(L"%u of %s were lost, in %s; the longest took %u pings, one after the other.", ping->lost,
                 Counted(ping->sent, L"ping"), Counted(ping->lossRuns, L"burst"), ping->longestLossRun),
         L"Something stops the traffic for a while: a link that goes down and comes back, a wireless connection, a switch that learns its ports anew, a system that sleeps.",
         L"See in the document when the bursts began, and look at what happened then in the logs of the target, the switches and this host.",
         LossEvidence(*ping)}};
}

SeenList SeeSteadyLoss(const Observations& observations) {
    constexpr std::uint64_t kFewestRuns = 4;
    const PingCourse* const ping = LossyTest(observations);
    if (ping == nullptr || AreBursts(*ping) || ping->lossRuns < kFewestRuns) {
        return {};
    }
    return {
        {observations.pingInterface,
         Sprintf(L"%u of %s were lost, a few at a time all over the test.", ping->lost,
                 Counted(ping->sent, L"ping")),
         L"So does a link that is bad or overloaded, or a device that limits how many pings it answers.",
         L"Repeat the test with a larger --delay: if nothing is lost then, something limits pings; if not, look at the error counters of the adapters and switches on the way.",
         LossEvidence(*ping)}};
}

SeenList SeeLargePingsLost(const Observations& observations) {
    constexpr std::uint32_t kHeaders = 28, kUsualMtu = 1500;
    const InterfaceObservations* const guest = observations.UnansweredInterface();
    if (guest == nullptr || guest->Ignored(IgnoredPing::ErrorTooLarge).count != 0 ||
        guest->Ignored(IgnoredPing::Fragment).count != 0) { // which say it better
        return {};
    }
    const PingCourse& ping = *observations.ping;
    std::uint32_t answeredSize = 0; // the largest one
    for (const EarlierPings& earlier : observations.earlierPings) {
        if (earlier.target == ping.target && earlier.dataSize < ping.dataSize) {
            answeredSize = std::max(answeredSize, earlier.dataSize);
        }
    }
    // Without an earlier test: something else came, and the size is one that many links do not take.
    if (answeredSize == 0 && (ping.dataSize + kHeaders <= kUsualMtu || guest->framesRead.value_or(0) == 0 ||
                              IsSilent(*guest, ping.target))) {
        return {};
    }
    const std::wstring target = FormatIPAddr(ping.target);
    Evidence evidence{{"target", target}, {"size", std::uint64_t{ping.dataSize}}};
    std::wstring seen = Sprintf(L"None of %s of %u bytes to %s was answered", Counted(ping.sent, L"ping"),
                                ping.dataSize, target);
    if (answeredSize != 0) {
        seen += Sprintf(L", those of %u bytes were", answeredSize);
        evidence.emplace_back("answeredSize", std::uint64_t{answeredSize});
    }
    return {
        {guest->number, seen + L".",
         Sprintf(
             L"With its headers each is a packet of %u bytes. A link or a switch that takes no packets of this size can throw them away without a word (its MTU).",
             ping.dataSize + kHeaders),
         Sprintf(
             L"Try --size %u: if that is answered, look for the smallest MTU on the way, at adapters, switches and tunnels.",
             answeredSize != 0 ? (answeredSize + ping.dataSize) / 2 : kUsualMtu - kHeaders),
         std::move(evidence)}};
}

SeenList SeeFullBuffer(const Observations& observations) {
    SeenList list;
    for (const InterfaceObservations& guest : observations.interfaces) {
        const std::uint64_t dropped = guest.droppedByDriver.value_or(0);
        if (dropped == 0) {
            continue;
        }
        const std::uint32_t larger = std::min(guest.driverBuffer * 4, kDriverBufferRange.highest);
        list.push_back(
            {guest.number,
             Sprintf(L"%s for %s %s dropped unread, for the driver's buffer of %uK was full.",
                     Counted(dropped, L"frame"), NameOfGuest(observations, guest),
                     std::wstring(dropped == 1 ? L"was" : L"were"), guest.driverBuffer),
             L"They were lost on this host, not on the network; pings that were lost may be among them.",
             larger > guest.driverBuffer ? Sprintf(L"A larger buffer holds more: --driver-buffer %u.", larger)
                                         : std::wstring(L"Send more slowly: --delay."),
             {{"droppedByDriver", dropped}, {"driverBufferK", std::uint64_t{guest.driverBuffer}}}});
    }
    return list;
}

SeenList SeeNoFrames(const Observations& observations) {
    const InterfaceObservations* const guest = observations.UnansweredInterface();
    const auto isSubnets = [guest](Ipv4Address address) {
        return guest->IsInSubnet(address) && !IsSubnetNumber(address, guest->netMask) &&
               !IsSubnetBroadcast(address, guest->netMask);
    };
    // What the other rules say of the addresses explains it already.
    if (guest == nullptr || !isSubnets(guest->guestIp) ||
        !(isSubnets(observations.ping->target) || observations.host.gateway) ||
        observations.host.library != LibraryKind::Capture || guest->framesRead.value_or(1) != 0 ||
        !guest->adapter || !guest->adapter->connected ||
        std::ranges::find(observations.host.addresses, observations.ping->target) !=
            observations.host.addresses.end()) {
        return {};
    }
    const AdapterObservations& adapter = *guest->adapter;
    std::wstring means =
        L"The target may be off, or in another network. Else the switch port lets no second MAC address pass.";
    std::wstring action =
        L"Ping the target from this host itself: if that works, have the port security of the switch and its VLAN looked at.";
    if (adapter.refusesPromiscuous) {
        means =
            L"The adapter cannot be put into promiscuous mode, as is common for wireless ones: an access point sends them no frames for a MAC address that has not joined it.";
        action = L"Use an adapter with a cable, or on Linux --library tun.";
    } else if (adapter.ofVirtualMachine) {
        means =
            L"The adapter is that of a virtual machine, and most hypervisors throw away frames for a MAC address that they have not given out themselves.";
        action =
            L"In the settings of the virtual switch allow promiscuous mode and forged (spoofed) MAC addresses for this adapter; or on Linux use --library tun.";
    }
    return {
        {guest->number,
         Sprintf(
             L"Not one frame came to %s on the adapter %s, not even an answer to ARP, although the adapter is connected.",
             NameOfGuest(observations, *guest), adapter.name),
         means,
         action,
         {{"framesRead", std::uint64_t{0}},
          {"adapter", adapter.name},
          {"refusesPromiscuous", adapter.refusesPromiscuous},
          {"ofVirtualMachine", adapter.ofVirtualMachine}}}};
}

} // namespace vnxtest
