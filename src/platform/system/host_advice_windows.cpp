#include "platform/system/host_advice.h"

namespace vnxtest {

HostAdvice GetHostAdvice() {
    HostAdvice advice;
    advice.noAdapters = L"Install a network adapter.";
    advice.virtualAdapter =
        L"The Microsoft Loopback Adapter serves, too, and needs no hardware: see Microsoft knowledge-base article 839013.";
    advice.driverMissing = L"Install Npcap (in its WinPcap-compatible mode) and start the program again.";
    advice.openFailed =
        L"Start the program as administrator, and see that the packet driver's service is running (\"sc query npcap\").";
    advice.lsoOff =
        L"Switch it off in the Device Manager: the properties of the adapter \"%s\", page Advanced, every entry \"Large Send Offload\": Disabled.";
    return advice;
}

} // namespace vnxtest
