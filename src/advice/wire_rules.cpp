// The rules about what a library has noticed of its wire.
#include <algorithm>

#include "advice/rules.h"
#include "advice/wording.h"
#include "wrenlib/format.h"

namespace vnxtest {

namespace {

using Milliseconds = std::chrono::milliseconds;

// "3.2 s".
std::wstring Seconds(Milliseconds time) {
    return Sprintf(L"%.1f s", static_cast<double>(time.count()) / 1000);
}

std::uint64_t Number(Milliseconds time) {
    return static_cast<std::uint64_t>(time.count());
}

// "once", "3 times".
std::wstring Times(std::uint64_t count) {
    return count == 1 ? std::wstring(L"once") : Counted(count, L"time");
}

// Calls `see` for each interface whose library tells, with what it has noticed; takes what it returns.
template <typename See>
SeenList SeeOnWires(const Observations& observations, const See& see) {
    SeenList list;
    for (const InterfaceObservations& guest : observations.interfaces) {
        if (guest.wire) {
            if (std::optional<Seen> seen = see(guest, *guest.wire)) {
                seen->interfaceNumber = guest.number;
                list.push_back(std::move(*seen));
            }
        }
    }
    return list;
}

// With a device of the host's kernel the adapter is the host's way to others, not the guest's own.
bool IsBehindHost(const Observations& observations) {
    return observations.host.library == LibraryKind::Device;
}

// Of the silent neighbours the first that `isMeant`.
template <typename IsMeant>
const SilentStation* FindSilence(const WireFacts& wire, const IsMeant& isMeant) {
    const auto found = std::ranges::find_if(
        wire.silent, [&isMeant](const SilentStation& silence) { return isMeant(silence.address); });
    return found != wire.silent.end() ? &*found : nullptr;
}

Seen SeenSilence(const wchar_t* who, const SilentStation& silence) {
    Seen seen;
    seen.seen = Sprintf(L"%s %s did not answer ARP: it was asked %s%s.", std::wstring(who),
                        FormatIPAddr(silence.address), Times(silence.questions),
                        std::wstring(silence.answeredBefore ? L" since it last did" : L", and never did"));
    seen.evidence = {{"address", FormatIPAddr(silence.address)},
                     {"questions", silence.questions},
                     {"answeredBefore", silence.answeredBefore}};
    return seen;
}

constexpr const wchar_t* kGatewayMeans =
    L"What is for other networks than the adapter's goes through it, and gets nowhere.";
constexpr const wchar_t* kGatewayAction =
    L"See that the gateway is on and has this address; if another one is right, correct the host's routes.";

// A TAP guest uses the gateway that the host has looked for before the start.
SeenList SeeGatewaySilentAtStart(const Observations& observations) {
    const InterfaceObservations* const guest = observations.UnansweredInterface();
    const HostObservations& host = observations.host;
    if (guest == nullptr || !guest->tapMode || host.library != LibraryKind::Capture || !host.gateway ||
        host.gateway->IsZero() || !host.gatewayMac.IsZero() || guest->netMask.IsZero() ||
        guest->IsInSubnet(observations.pingTarget)) {
        return {};
    }
    return {
        {guest->number,
         Sprintf(
             L"The gateway %s did not answer ARP before the start, and the target %s is in another network.",
             FormatIPAddr(*host.gateway), FormatIPAddr(observations.pingTarget)),
         kGatewayMeans,
         kGatewayAction,
         {{"address", FormatIPAddr(*host.gateway)}, {"target", FormatIPAddr(observations.pingTarget)}}}};
}

} // namespace

SeenList SeeAddressInUse(const Observations& observations) {
    return SeeOnWires(observations, [&](const InterfaceObservations& guest, const WireFacts& wire) {
        if (!wire.addressInUse) {
            return std::optional<Seen>();
        }
        const AddressInUse& other = *wire.addressInUse;
        Seen seen;
        seen.seen =
            Sprintf(L"The IP address %s of %s is in use by another station, with the MAC address %s: it %s.",
                    FormatIPAddr(guest.guestIp), NameOfGuest(observations, guest), FormatMACAddr(other.by),
                    other.probed ? std::wstring(L"answered when the start asked for the address")
                                 : L"said so itself, first " + Seconds(other.first) + L" after the start");
        seen.means =
            L"Who asks for the address is answered by both, so pings for the guest, and the replies to its own, reach now the one and now the other.";
        seen.action =
            L"Give the guest an address that nobody has, or find the other station by its MAC address and change that one's.";
        seen.evidence = {{"address", FormatIPAddr(guest.guestIp)},
                         {"mac", FormatMACAddr(other.by)},
                         {"answeredProbe", other.probed},
                         {"times", other.times},
                         {"firstMs", Number(other.first)}};
        return std::optional(std::move(seen));
    });
}

SeenList SeeMacInUse(const Observations& observations) {
    return SeeOnWires(observations, [&](const InterfaceObservations& guest, const WireFacts& wire) {
        if (!wire.macInUse) {
            return std::optional<Seen>();
        }
        const MacInUse& other = *wire.macInUse;
        Seen seen;
        seen.seen = Sprintf(L"%s came from the MAC address %s of %s that it cannot have sent%s.",
                            Counted(other.times, L"frame"), FormatMACAddr(guest.guestMac),
                            NameOfGuest(observations, guest),
                            other.by.IsZero() ? std::wstring() : L"; they name " + FormatIPAddr(other.by));
        seen.means =
            L"Another station has the same MAC address, and a switch hands what is for the guest to whichever of the two has sent last.";
        seen.action =
            L"Give the guest a MAC address of its own: left empty, one is made from its IP address.";
        seen.evidence = {{"mac", FormatMACAddr(guest.guestMac)},
                         {"frames", other.times},
                         {"etherType", static_cast<std::uint64_t>(other.etherType)},
                         {"firstMs", Number(other.first)}};
        if (!other.by.IsZero()) {
            seen.evidence.emplace_back("address", FormatIPAddr(other.by));
        }
        return std::optional(std::move(seen));
    });
}

SeenList SeeSilentTarget(const Observations& observations) {
    const Ipv4Address target = observations.pingTarget;
    const HostObservations& host = observations.host;
    if (std::ranges::find(host.addresses, target) != host.addresses.end()) {
        return {}; // no wonder: SeeTargetOnThisHost()
    }
    return SeeOnWires(observations, [&](const InterfaceObservations& guest, const WireFacts& wire) {
        const bool isElsewhere =
            !guest.netMask.IsZero() && !guest.IsInSubnet(target) && !host.gateway; // SeeNoGateway()
        const auto* const silence = FindSilence(wire, [&](Ipv4Address address) { return address == target; });
        if (silence == nullptr || isElsewhere) {
            return std::optional<Seen>();
        }
        Seen seen = SeenSilence(L"The target", *silence);
        seen.means = L"Without its MAC address no ping gets to it.";
        seen.action =
            L"See that the target is on and has this address, and that nothing keeps it apart from the adapter: another VLAN, or an access point that isolates its clients.";
        return std::optional(std::move(seen));
    });
}

SeenList SeeSilentGateway(const Observations& observations) {
    if (SeenList list = SeeGatewaySilentAtStart(observations); !list.empty()) {
        return list;
    }
    return SeeOnWires(observations, [&](const InterfaceObservations&, const WireFacts& wire) {
        const auto* const silence = FindSilence(wire, [&](Ipv4Address address) {
            return address != observations.pingTarget &&
                   std::ranges::find(observations.gateways, address) != observations.gateways.end();
        });
        if (silence == nullptr) {
            return std::optional<Seen>();
        }
        Seen seen = SeenSilence(L"The gateway", *silence);
        seen.means = kGatewayMeans;
        seen.action = kGatewayAction;
        return std::optional(std::move(seen));
    });
}

SeenList SeeLostCarrier(const Observations& observations) {
    return SeeOnWires(observations, [&](const InterfaceObservations&, const WireFacts& wire) {
        const LinkTrouble& trouble = wire.noCarrier;
        if (trouble.times == 0) {
            return std::optional<Seen>();
        }
        Seen seen;
        seen.seen = Sprintf(L"The adapter was without carrier %s, first %s after the start, for %s%s.",
                            Times(trouble.times), Seconds(trouble.first), Seconds(trouble.total),
                            trouble.lasting ? std::wstring(L", and still is") : std::wstring());
        seen.means = IsBehindHost(observations)
                         ? L"The guest still reaches this host; what was for others meanwhile is lost."
                         : L"What was sent meanwhile is lost, and nothing arrived.";
        seen.action =
            L"See to the cable, the plug or the wireless link, and to the other end: a switch port that is off, a machine that restarts.";
        seen.evidence = {{"times", static_cast<std::uint64_t>(trouble.times)},
                         {"firstMs", Number(trouble.first)},
                         {"totalMs", Number(trouble.total)},
                         {"lasting", trouble.lasting}};
        return std::optional(std::move(seen));
    });
}

SeenList SeeAdapterDown(const Observations& observations) {
    return SeeOnWires(observations, [&](const InterfaceObservations&, const WireFacts& wire) {
        const bool gone = wire.gone.times != 0;
        const LinkTrouble& trouble = gone ? wire.gone : wire.down;
        if (trouble.times == 0) {
            return std::optional<Seen>();
        }
        Seen seen;
        seen.seen = Sprintf(L"The adapter was %s %s after the start.",
                            gone ? std::wstring(L"taken away") : std::wstring(L"switched off"),
                            Seconds(trouble.first));
        seen.means = IsBehindHost(observations)
                         ? L"The guest still reaches this host; others it reached through that adapter."
                         : L"A guest cannot go on without its adapter, so it was stopped.";
        seen.action =
            gone
                ? L"Bring the adapter back, or choose another one, and start the guest again."
                : L"Switch the adapter on again, or find out who switched it off, and start the guest again.";
        seen.evidence = {{"state", std::wstring(gone ? L"gone" : L"down")},
                         {"firstMs", Number(trouble.first)}};
        return std::optional(std::move(seen));
    });
}

SeenList SeeFramesBeyondMtu(const Observations& observations) {
    return SeeOnWires(observations, [&](const InterfaceObservations& guest, const WireFacts& wire) {
        const BeyondMtu& beyond = wire.beyondMtu;
        if (beyond.frames == 0) {
            return std::optional<Seen>();
        }
        Seen seen;
        seen.seen = Sprintf(
            L"%s for %s %s longer than the adapter's MTU of %u bytes allows, the longest of %u bytes%s.",
            Counted(beyond.frames, L"frame"), NameOfGuest(observations, guest),
            std::wstring(beyond.frames == 1 ? L"was" : L"were"), beyond.mtu, beyond.longest,
            std::wstring(guest.largeSendOffload ? L"; large send offload is on" : L""));
        seen.means =
            L"A wire of this MTU carries none so long: the adapter or the system has joined several, or not yet cut one, before the guest saw it, and the guest ignores it. Pings are not affected, TCP becomes slow or stops.";
        seen.action =
            L"Switch large send and receive offload off, on Linux with \"ethtool -K ADAPTER tso off gso off gro off lro off\", on Windows in the adapter's advanced properties; or see that the other end has the same MTU.";
        seen.evidence = {{"frames", beyond.frames},
                         {"longest", static_cast<std::uint64_t>(beyond.longest)},
                         {"mtu", static_cast<std::uint64_t>(beyond.mtu)},
                         {"largeSendOffload", guest.largeSendOffload}};
        return std::optional(std::move(seen));
    });
}

} // namespace vnxtest
