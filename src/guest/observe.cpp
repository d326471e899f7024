#include "guest/observe.h"

#include <algorithm>

#include "core/run_settings.h"
#include "wrenlib/text.h"
#include "wrenlib/ticks.h"

namespace vnxtest {

namespace {

// The first three bytes of the MAC addresses that hypervisors give the adapters of their virtual machines.
constexpr std::array<std::array<std::uint8_t, 3>, 6> kVirtualMakers = {{{0x52, 0x54, 0x00},
                                                                        {0x00, 0x0C, 0x29},
                                                                        {0x00, 0x50, 0x56},
                                                                        {0x00, 0x15, 0x5D},
                                                                        {0x08, 0x00, 0x27},
                                                                        {0x00, 0x16, 0x3E}}};

bool IsOfVirtualMachine(MacAddress mac) {
    const auto& bytes = mac.Bytes();
    return std::ranges::any_of(kVirtualMakers, [&bytes](const auto& maker) {
        return std::equal(maker.begin(), maker.end(), bytes.begin());
    });
}

std::optional<AdapterObservations> ObserveAdapter(const HostNetwork& host, Ipv4Address ip, MacAddress mac) {
    const auto found = std::ranges::find_if(host.Adapters(), [&](const HostAdapter& adapter) {
        return ip.IsZero() ? adapter.mac == mac : adapter.address == ip;
    });
    if (found == host.Adapters().end()) {
        return std::nullopt;
    }
    return AdapterObservations{.name = std::wstring(TrimBlanks(found->connection)),
                               .connected = found->mediaConnected,
                               .refusesPromiscuous = !found->promiscuous.value_or(true),
                               .ofVirtualMachine = IsOfVirtualMachine(found->mac)};
}

// What the monitor thread leaves behind is read only when it has ended.
void ObserveEnd(InterfaceObservations& result, const InterfaceCounts& counted) {
    result.droppedByDriver = counted.droppedByDriver;
    if (const auto& statistics = counted.statistics) {
        // Whatever became of them; but for the guest's own, which Windows' capture driver hands back.
        result.framesRead = static_cast<std::uint64_t>(
            std::max(statistics->packetsRead - statistics->fromOurself, statistics->internalArps));
        result.driverBuffer = statistics->kernelBufferSize / kKilo;
    }
}

InterfaceObservations ObserveInterface(const Guest& guest, int index) {
    const INTERFACE_INFO& info = guest.Interface(index);
    InterfaceObservations result;
    result.number = index + 1;
    result.tapMode = info.asked.tapMode;
    result.guestIp = info.addresses.guestIp;
    // While the interface runs its addresses are read only once they change no more.
    if (!guest.IsRunning() || info.open.Handle() >= 0) {
        result.guestMac = info.addresses.guestMac;
    }
    if (!guest.IsRunning() || info.addresses.adapterKnown.load(std::memory_order_acquire)) {
        result.adapterIp = info.addresses.adapterIp;
        result.netMask = info.addresses.netMask;
        result.adapter = ObserveAdapter(guest.Host(), info.addresses.adapterIp, info.addresses.adapterMac);
    }
    result.wire = guest.NoticedOnWire(index);
    result.largeSendOffload = guest.HadLargeSendOffload(index);
    for (std::size_t kind = 0; kind < kIgnoredPingKinds; ++kind) {
        result.ignoredPings[kind] = info.counted.ignoredPings.Read(static_cast<IgnoredPing>(kind));
    }
    // The library has dropped these before the guest could count them.
    if (result.wire && result.wire->tagged.frames != 0) {
        IgnoredPings::Kind& tagged = result.ignoredPings[static_cast<std::size_t>(IgnoredPing::VlanTagged)];
        tagged.count += result.wire->tagged.frames;
        tagged.senders.push_back(result.wire->tagged.from);
    }
    if (!guest.IsRunning()) {
        ObserveEnd(result, info.counted);
    }
    return result;
}

LibraryKind KindOf(const VnetxLibrary& library) {
    const std::wstring name = library.ModuleName();
    return name == L"built-in tun"   ? LibraryKind::Device
           : name == L"built-in sim" ? LibraryKind::Simulated
                                     : LibraryKind::Capture;
}

HostObservations ObserveHost(const HostNetwork& host, const VnetxLibrary& library) {
    HostObservations result;
    result.library = KindOf(library);
    if (host.Parameters()) {
        result.forwards = host.Parameters()->forwardsPackets;
    }
    if (host.HasDefaultGateway()) {
        result.gateway = host.DefaultGateway();
        result.gatewayMac = host.DefaultGatewayMac();
    }
    if (host.Addresses()) {
        for (const HostAddress& row : *host.Addresses()) {
            result.addresses.push_back(row.address);
        }
    }
    return result;
}

std::vector<Ipv4Address> GatewaysOf(const HostNetwork& host) {
    std::vector<Ipv4Address> gateways;
    if (const auto& routes = host.Routes()) {
        for (const HostRoute& route : *routes) {
            if (!route.nextHop.IsZero()) {
                gateways.push_back(route.nextHop);
            }
        }
    }
    if (host.HasDefaultGateway()) {
        gateways.push_back(host.DefaultGateway());
    }
    return gateways;
}

std::optional<PingCourse> ObservePing(const PingTest& test) {
    if (test.IsRunning()) {
        return CourseSoFar(test.Plan(), test.FiguresSoFar(false), GetTicks());
    }
    const PingTestResult& result = test.Result();
    return result.complete ? std::optional(CourseOf(result.plan, result.records)) : std::nullopt;
}

} // namespace

Observations Observe(const Guest& guest, const VnetxLibrary& library) {
    Observations result;
    for (int index = 0; index < 2; ++index) {
        if (guest.Interface(index).asked.NamesAdapter()) {
            result.interfaces.push_back(ObserveInterface(guest, index));
        }
    }
    result.pingTarget = guest.PingTarget();
    result.gateways = GatewaysOf(guest.Host());
    result.host = ObserveHost(guest.Host(), library);
    result.ping = ObservePing(guest.Ping());
    result.pingInterface = guest.PingsFrom() + 1;
    result.earlierPings = guest.EarlierTests();
    return result;
}

} // namespace vnxtest
