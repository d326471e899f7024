#include "guest/observe.h"

namespace vnxtest {

namespace {

InterfaceObservations ObserveInterface(const INTERFACE_INFO& info, int number) {
    InterfaceObservations result;
    result.number = number;
    result.tapMode = info.asked.tapMode;
    result.guestIp = info.addresses.guestIp;
    for (std::size_t kind = 0; kind < kIgnoredPingKinds; ++kind) {
        result.ignoredPings[kind] = info.counted.ignoredPings.Read(static_cast<IgnoredPing>(kind));
    }
    return result;
}

} // namespace

Observations Observe(const Guest& guest) {
    Observations result;
    for (int index = 0; index < 2; ++index) {
        if (const INTERFACE_INFO& info = guest.Interface(index); info.asked.NamesAdapter()) {
            result.interfaces.push_back(ObserveInterface(info, index + 1));
        }
    }
    return result;
}

} // namespace vnxtest
