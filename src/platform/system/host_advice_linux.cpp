#include "platform/process/privileges.h"
#include "platform/system/host_advice.h"

namespace vnxtest {

HostAdvice GetHostAdvice() {
    HostAdvice advice;
    advice.noAdapters = L"Connect a network adapter and set it up with \"ip link set NAME up\".";
    advice.virtualAdapter =
        L"A machine without a network adapter can be given a pair of virtual ones: \"ip link add vnx0 type veth peer name vnx1\". (On Windows the loopback adapter serves: see Microsoft knowledge-base article 839013.)";
    advice.driverMissing = L"Install libpcap from your distribution's packages and start the program again.";
    advice.openFailed = L"Set the adapter up with \"ip link set NAME up\" if it is down.";
    if (!MayOpen(Privilege::Capture)) {
        advice.openFailed = HowToGrant(Privilege::Capture);
    }
    advice.lsoOff = L"Switch it off with \"ethtool -K %s tso off\".";
    return advice;
}

} // namespace vnxtest
