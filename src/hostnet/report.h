// The start-up report: one text that says what the host has, for the user and for whoever helps.
//
// Everything goes through LogMsg. No failure ends it: what is missing is left out or said plainly.
#pragma once

#include <string>

#include "hostnet/host_network.h"
#include "wrenlib/product.h"

namespace vnxtest {

// What the report says of the program itself. The defaults are those of this build.
struct ReportContext {
    std::wstring programName = kWideProductName;
    std::wstring programVersion;
    std::wstring buildDate;
    std::wstring buildTime;
    std::wstring specialBuild;
    std::wstring copyright;

    ReportContext();
};

// Writes the five sections: run mode, modules, device names, network information, detected adapters.
// The fourth also fixes the default gateway (HostNetwork::FindDefaultGateway). After InitGlobals; on the
// user-interface thread. Takes one bounded ARP probe and the time to open each adapter once.
void WriteStartupReport(HostNetwork& host, const ReportContext& context);

} // namespace vnxtest
