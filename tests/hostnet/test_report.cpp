#include <regex>

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
using ::testing::StartsWith;

class ReportTest : public OutputFixture, protected ScriptedHost {
protected:
    // The text that one section writes on the host as it is.
    template <typename... Context>
    std::string TextOf(void (*section)(HostNetwork&, const Context&...), const Context&... context) {
        network.InitGlobals();
        TakeText();
        section(network, context...);
        return TakeText();
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

TEST_F(ReportTest, RunModeNodeTypesAndDeviceNamesAsTheyAreWritten) {
    network.InitGlobals();
    TakeText();
    WriteRunMode();
    // Which rights, whose host and which system, two numbers and one, the edition, and the processors.
    EXPECT_TRUE(std::regex_match(
        TakeText(), std::regex(R"(Running in (Normal User|Elevated \(Administrator\)) mode on "[^"\n]+" )"
                               R"(\([A-Z][^()\n]* \d+\.\d+\.\d+\) ([^\n]*[^ \n] )?\(MP=[1-9]\d*\)\.\n\n)")));
    WriteDeviceNames();
    EXPECT_THAT(TakeText(),
                StartsWith("---------  The following relevant DosDevices are defined ---------\n\n"));
    for (const auto& [type, text] : {std::pair(1U, "Broadcast"),
                                     {2U, "Peer to peer"},
                                     {4U, "Mixed"},
                                     {8U, "Hybrid"},
                                     {0U, "(unknown)"},
                                     {3U, "(unknown)"}}) {
        tables.networkParameters.nodeType = static_cast<NodeType>(type);
        EXPECT_THAT(TextOf(WriteNetworkInformation),
                    HasSubstr(std::string("  Node Type . . . . . . . . . : ") + text + "\n"));
    }
}

TEST_F(ReportTest, TheGatewayLineFollowsTheUserAndNeverContradictsItself) {
    network.SetDefaultGateway({10, 0, 0, 77}, kMacA); // no route names a gateway
    EXPECT_THAT(TextOf(WriteNetworkInformation),
                HasSubstr("  Default gateway:  10.0.0.77  (02-00-00-00-00-0A)\n"));
    network.SetDefaultGateway({10, 0, 0, 78}, {});
    tables.AddRoute({}, {}, {10, 0, 0, 254}, 8);
    EXPECT_THAT(TextOf(WriteNetworkInformation),
                HasSubstr("  Default gateway:  10.0.0.78  (unresponsive)\n"));
    EXPECT_TRUE(tables.probes.empty());
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

TEST_F(ReportTest, NamesFromElsewhereForgeNoLine) {
    const std::wstring name = L"x\nforged \x1b[31m\u202e";
    const std::string shown = "x\\x0aforged \\x1b[31m\\u202e";
    tables.networkParameters.hostName = name;
    tables.networkParameters.dnsServers = {name, name};
    const std::string information = TextOf(WriteNetworkInformation);
    EXPECT_THAT(information, AllOf(HasSubstr("  Host Name . . . . . . . . . : " + shown + "\n"),
                                   HasSubstr("  DNS Servers . . . . . . . . : " + shown + "\n"),
                                   HasSubstr("                                " + shown + "\n")));
    adapters.entries = {MakeAdapter(name, kMacA)};
    adapters.entries[0].description = name;
    adapters.failOpen = {L"NPF_" + name}; // opened by the name that it has
    EXPECT_THAT(
        TextOf(WriteDetectedAdapters),
        AllOf(StartsWith("--------------------------  Detected Adapters  --------------------------\n\n"
                         "Connection          = " +
                         shown + "\nAdapterName         = NPF_" + shown + "\nDescription         = " + shown +
                         "\n"),
              HasSubstr("** WrenPackOpenAdapter(NPF_" + shown + ") failed; rc=5: "),
              Not(HasSubstr("\nforged"))));
    adapters.driver.version = adapters.driver.driverVersion = name;
    EXPECT_THAT(TextOf(WriteModules, ReportContext()),
                AllOf(HasSubstr("version \"" + shown + "\""), Not(HasSubstr("\nforged"))));
}

TEST_F(ReportTest, ModulesAreNamedWithTheirVersions) {
    adapters.driver.driverVersion = L"7.8";
    ReportContext context;
    std::tie(context.programName, context.programVersion, context.buildDate, context.buildTime,
             context.specialBuild, context.copyright) =
        std::tuple(L"prog", L"1.0.0.1", L"Jan  2 2026", L"03:04:05", L"special", L"copyright");
    EXPECT_THAT(TextOf(WriteModules, context),
                StartsWith("Begin prog, version: \"1.0.0.1\" (Jan  2 2026) 03:04:05 special ...\n"
                           "copyright\n\n"
                           "Using WinPCap driver, version \"4.5\" (detail), driver version \"7.8\" ...\n\n"
                           "Using WrenPack, version: \"1.2.3.4\" (test) ...\n"
                           "(c)\n\n"
                           "Using scripted, version: \"scripted\" (built into this program) ...\n"
                           "copyright\n\n"
                           "Using WrenLib, version: \"1.0.0.1\" (built into this program) ...\n"));
    adapters.driver.usable = false;
    adapters.driver.problem = L"It is not there: 100%s sure.";
    const std::string text = TextOf(WriteModules, context);
    EXPECT_THAT(text, HasSubstr("It is not there: 100%s sure."));
    EXPECT_THAT(text, Not(HasSubstr("WinPCap")));
}

} // namespace
} // namespace vnxtest
