#include <functional>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "hostnet/report.h"
#include "hostnet/report_sections.h"
#include "hostnet/scripted_host.h"
#include "support/output_fixture.h"
#include "wrenlib/text.h"

namespace vnxtest {
namespace {

using ::testing::AllOf;
using ::testing::HasSubstr;
using ::testing::Not;

class ReportTest : public OutputFixture, protected ScriptedHost {
protected:
    // The text that one section writes on the host as it is.
    std::string TextOf(const std::function<void(HostNetwork&)>& section) {
        network.InitGlobals();
        TakeText();
        section(network);
        return TakeText();
    }
    std::string TextOfModules() {
        return TextOf([this](HostNetwork& host) { WriteModules(host, library, ReportContext()); });
    }
    ReportTest() {
        adapters.entries = {MakeAdapter(L"other", kMacB), MakeAdapter(L"main", kMacA), MakeAdapter(L"third")};
        library.defaultInterface = kMacTextA;
    }
};

TEST_F(ReportTest, NetworkInformationLineByLine) {
    tables.networkParameters.hostName = L"host";
    tables.networkParameters.nodeType = NodeType::PeerToPeer;
    tables.networkParameters.dnsServers = {L"10.0.0.53", L"2001:db8::53"};
    tables.networkParameters.forwardsPackets = true;
    tables.AddRoute({}, {}, {10, 0, 0, 254}, 8, 900);
    tables.AddRoute({10, 0, 0, 0}, kMask24, {}, 7, 4294967295);
    tables.AddAddress({10, 0, 0, 1}, kMask24, 7);
    tables.answers[Ipv4Address(10, 0, 0, 254)] = kMacA;
    EXPECT_EQ(TextOf(WriteNetworkInformation),
              "-------------------------  Network Information  -------------------------\n\n"
              "  Host Name . . . . . . . . . : host\n"
              "  Node Type . . . . . . . . . : Peer to peer\n"
              "  DNS Servers . . . . . . . . : 10.0.0.53\n"
              "                                2001:db8::53\n"
              "  IP Routing Enabled. . . . . : yes\n\n"
              "  Network Address          Netmask  Gateway Address        Interface  Metric\n"
              "          0.0.0.0          0.0.0.0       10.0.0.254                      900\n"
              "         10.0.0.0    255.255.255.0          0.0.0.0         10.0.0.1 4294967295\n\n"
              "  Default gateway:  10.0.0.254  (02-00-00-00-00-0A)\n\n");
}

TEST_F(ReportTest, ADefaultRouteWithoutANextHopIsListedAndNotProbed) {
    tables.AddRoute({}, {}, {}, 8, 3);
    EXPECT_THAT(
        TextOf(WriteNetworkInformation),
        AllOf(HasSubstr("          0.0.0.0          0.0.0.0          0.0.0.0                        3\n"),
              HasSubstr("  Default gateway:  0.0.0.0  (unresponsive)\n")));
    EXPECT_TRUE(tables.probes.empty());
}

TEST_F(ReportTest, WhatIsMissingLeavesTheSectionShort) {
    tables.parametersCode = tables.routesCode = tables.addressesCode = 5;
    EXPECT_THAT(TextOf(WriteNetworkInformation),
                HasSubstr("-----\n\n\n  Default gateway:  (none)  (unresponsive)\n\n"));
    tables.parametersCode = tables.routesCode = 0; // known, but empty
    const std::string text = TextOf(WriteNetworkInformation);
    EXPECT_THAT(text, HasSubstr("  Network Address          Netmask"));
    EXPECT_THAT(text, HasSubstr("  Node Type . . . . . . . . . : (unknown)\n"));
    adapters.failOpen = {L"NPF_main"}; // the next one is tried
    EXPECT_THAT(TextOf(WriteDetectedAdapters),
                HasSubstr("Your default adapter \"main\" could not be opened"));
    EXPECT_EQ(adapters.opened, (std::vector<std::wstring>{L"NPF_other", L"NPF_third"}));
    EXPECT_EQ(adapters.open, 0);
}

TEST_F(ReportTest, AdaptersLineByLine) {
    adapters.entries = {MakeAdapter(L"main", kMacA, {10, 0, 0, 1}, {255, 255, 0, 0}, {10, 0, 0, 254})};
    HostAdapter& adapter = adapters.entries[0];
    adapter.index = 0x1F;
    adapter.dhcp = true;
    adapter.checksumOffload = ChecksumOffload{kChecksumTcp | kChecksumIp, 0, 0, kChecksumUdp};
    EXPECT_EQ(TextOf(WriteDetectedAdapters),
              "--------------------------  Detected Adapters  --------------------------\n\n"
              "Connection          = main\n"
              "AdapterName         = NPF_main\n"
              "Description         = a test adapter\n"
              "PhysAddr            = 02-00-00-00-00-0A\n"
              "LinkType            = NdisMedium802_3\n"
              "Default Adapter?    = Yes\n"
              "MediaConnected?     = Yes\n"
              "PromiscuousMode?    = Yes\n"
              "DHCP Enabled?       = Yes\n"
              "LinkSpeed           = 1.0 Gbps\n"
              "MaxPacketLen        = 1514\n"
              "IPAddr              = 10.0.0.1\n"
              "IPAddrMask          = 255.255.0.0\n"
              "GatewayIPAddr       = 10.0.0.254\n"
              "dwIndex             = 0x0000001F\n"
              "Checksum Offloading = Yes\n"
              "    V4Transmit      = TCP ENABLED, UDP no, IP ENABLED\n"
              "    V4Receive       = TCP no, UDP no, IP no\n"
              "    V6Transmit      = TCP no, UDP no\n"
              "    V6Receive       = TCP no, UDP ENABLED\n"
              "LSO v1 (IPv4)       = no?\n"
              "LSO v1 (IPv6)       = no?\n"
              "LSO v2 (IPv4)       = no?\n"
              "LSO v2 (IPv6)       = no?\n\n");
}

TEST_F(ReportTest, OnlyTheDefaultAdapterIsWarnedOf) {
    for (HostAdapter& adapter : adapters.entries) {
        adapter.mediaConnected = false;
        adapter.promiscuous = false;
        adapter.checksumOffload = ChecksumOffload();
        adapter.checksumOffloadOverridden = true;
    }
    EXPECT_THAT(TextOf(WriteDetectedAdapters),
                AllOf(HasSubstr("PromiscuousMode?    = No                   ** WARNING **\n"),
                      HasSubstr("Checksum Offloading = OVERRIDDEN\n"),
                      HasSubstr("\"main\" cannot be put into promiscuous mode"),
                      Not(HasSubstr("\"other\""))));
    for (HostAdapter& adapter : adapters.entries) {
        adapter.dhcp = adapter.promiscuous = std::nullopt;
    }
    EXPECT_THAT(TextOf(WriteDetectedAdapters),
                AllOf(HasSubstr("PromiscuousMode?    = unknown\nDHCP Enabled?       = unknown\n"),
                      Not(HasSubstr("promiscuous mode"))))
        << "what is not known is no reason to warn";
}

// Of the host and its resolver: tests/e2e/test_report.py.
TEST_F(ReportTest, NamesFromElsewhereForgeNoLine) {
    const std::wstring name = L"x\nforged \x1b[31m\u202e";
    const std::string shown = "x\\x0aforged \\x1b[31m\\u202e";
    adapters.entries = {MakeAdapter(name, kMacA)};
    adapters.failOpen = {L"NPF_" + name}; // opened by the name that it has
    EXPECT_THAT(TextOf(WriteDetectedAdapters),
                AllOf(HasSubstr("** WrenPackOpenAdapter(NPF_" + shown + ") failed; rc=5: "),
                      Not(HasSubstr("\nforged"))));
    adapters.driver.version = adapters.driver.driverVersion = name;
    EXPECT_THAT(TextOfModules(), AllOf(HasSubstr("version \"" + shown + "\""), Not(HasSubstr("\nforged"))));
}

TEST_F(ReportTest, ADriverThatCannotBeUsedIsToldOfInItsOwnWords) {
    adapters.driver.usable = false;
    adapters.driver.problem = L"It is not there: 100%s sure.";
    EXPECT_THAT(TextOfModules(), AllOf(HasSubstr("It is not there: 100%s sure."), Not(HasSubstr("WinPCap"))));
}

} // namespace
} // namespace vnxtest
