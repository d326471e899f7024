// The sections of the start-up report, each in a file of its own. See WriteStartupReport.
#pragma once

#include "hostnet/host_network.h"
#include "hostnet/report.h"

namespace vnxtest {

void WriteRunMode();
void WriteModules(const HostNetwork& host, VnetxLibrary& library, const ReportContext& context);
void WriteDeviceNames();
// Fixes the default gateway.
void WriteNetworkInformation(HostNetwork& host);
// Opens every adapter once, and closes all before it returns.
void WriteDetectedAdapters(HostNetwork& host);

// The topics of the help book to which the banners point.
inline constexpr wchar_t kHelpTopicModules[] = L"Packet driver and modules";
inline constexpr wchar_t kHelpTopicAdapters[] = L"Host adapters";
inline constexpr wchar_t kHelpTopicPromiscuous[] = L"Promiscuous mode and wireless adapters";
inline constexpr wchar_t kHelpTopicOffload[] = L"Large Segment Offload";

} // namespace vnxtest
