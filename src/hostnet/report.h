// The start-up report: one text about the host, for the user and for support.
//
// Everything goes through LogMsg. No failure ends it: missing data is left out or named.
#pragma once

#include <string>

#include "hostnet/host_network.h"
#include "vnetx/library.h"
#include "wrenlib/product.h"

namespace vnxtest {

// The program's own facts in the report. The defaults are those of this build.
struct ReportContext {
    std::wstring programName = kWideProductName;
    std::wstring programVersion;
    std::wstring buildDate;
    std::wstring buildTime;
    std::wstring specialBuild;
    std::wstring copyright;

    ReportContext();
};

// Writes the five sections: run mode, modules (`library` among them), device names, network information,
// detected adapters. The fourth also fixes the default gateway (HostNetwork::FindDefaultGateway). After
// InitGlobals; user-interface thread. Waits for one bounded ARP probe and opens each adapter once.
void WriteStartupReport(HostNetwork& host, VnetxLibrary& library, const ReportContext& context);

} // namespace vnxtest
