#include "guest/observe.h"

namespace vnxtest {

namespace {

InterfaceObservations ObserveInterface(const Guest& guest, int index) {
    const INTERFACE_INFO& info = guest.Interface(index);
    InterfaceObservations result;
    result.number = index + 1;
    result.tapMode = info.asked.tapMode;
    result.guestIp = info.addresses.guestIp;
    result.guestMac = info.addresses.guestMac;
    result.wire = guest.NoticedOnWire(index);
    result.largeSendOffload = guest.HadLargeSendOffload(index);
    for (std::size_t kind = 0; kind < kIgnoredPingKinds; ++kind) {
        result.ignoredPings[kind] = info.counted.ignoredPings.Read(static_cast<IgnoredPing>(kind));
    }
    return result;
}

} // namespace

Observations Observe(const Guest& guest) {
    Observations result;
    for (int index = 0; index < 2; ++index) {
        if (guest.Interface(index).asked.NamesAdapter()) {
            result.interfaces.push_back(ObserveInterface(guest, index));
        }
    }
    result.pingTarget = guest.PingTarget();
    if (const auto& routes = guest.Host().Routes()) {
        for (const HostRoute& route : *routes) {
            if (!route.nextHop.IsZero()) {
                result.gateways.push_back(route.nextHop);
            }
        }
    }
    if (guest.Host().HasDefaultGateway()) {
        result.gateways.push_back(guest.Host().DefaultGateway());
    }
    return result;
}

} // namespace vnxtest
