#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "hostnet/report.h"
#include "hostnet/report_sections.h"
#include "hostnet/scripted_host.h"
#include "support/output_fixture.h"
#include "wrenlib/text.h"

namespace vnxtest {
namespace {

using ::testing::HasSubstr;
using ::testing::Not;
using ::testing::StartsWith;

class ReportTest : public OutputFixture {
protected:
    std::string NetworkSection() {
        network.InitGlobals();
        TakeText();
        WriteNetworkInformation(network);
        return TakeText();
    }
    std::string AdapterSection() {
        network.InitGlobals();
        TakeText();
        WriteDetectedAdapters(network);
        return TakeText();
    }
    void UseDefaultAdapter() {
        adapters.entries = {MakeAdapter(L"other", kMacB),
                            MakeAdapter(L"main", kMacA, {10, 0, 0, 1}, kMask24)};
        library.defaultInterface = "02-00-00-00-00-0A";
    }
    // The banner of this kind, its lines without frame and label, or nothing.
    static std::string BannerText(const std::string& text, const std::string& label) {
        std::string found;
        for (std::size_t at = text.find(label); at != std::string::npos; at = text.find(label, at + 1)) {
            const std::string line = text.substr(at + label.size(), text.find('\n', at) - at - label.size());
            const std::size_t begin = line.find_first_not_of(" *");
            const std::size_t end = line.find_last_not_of(" *");
            found += begin == std::string::npos ? "" : line.substr(begin, end - begin + 1) + " ";
        }
        return found;
    }

    ScriptedTables tables;
    ScriptedWrenPack adapters;
    DefaultingLibrary library;
    HostNetwork network{{tables, adapters}, library};
};

TEST_F(ReportTest, NetworkInformationLineByLine) {
    tables.parameters.hostName = L"host";
    tables.parameters.nodeType = NodeType::PeerToPeer;
    tables.parameters.dnsServers = {L"10.0.0.53", L"2001:db8::53"};
    tables.parameters.enableRouting = true;
    tables.AddRoute({}, {}, {10, 0, 0, 253}, 7, 1);
    tables.AddRoute({}, {}, {10, 0, 0, 254}, 8, 900);
    tables.AddRoute({10, 0, 0, 0}, kMask24, {}, 7, 4294967295);
    tables.AddAddress({10, 0, 0, 1}, kMask24, 7);
    tables.answers[Ipv4Address(10, 0, 0, 254)] = {2, 0, 0, 0, 0, 0x0A};
    EXPECT_EQ(NetworkSection(),
              "-------------------------  Network Information  -------------------------\n"
              "\n"
              "  Host Name . . . . . . . . . : host\n"
              "  Node Type . . . . . . . . . : Peer to peer\n"
              "  DNS Servers . . . . . . . . : 10.0.0.53\n"
              "                                2001:db8::53\n"
              "  IP Routing Enabled. . . . . : yes\n"
              "\n"
              "  Network Address          Netmask  Gateway Address        Interface  Metric\n"
              "          0.0.0.0          0.0.0.0       10.0.0.253         10.0.0.1       1\n"
              "          0.0.0.0          0.0.0.0       10.0.0.254                      900\n"
              "         10.0.0.0    255.255.255.0          0.0.0.0         10.0.0.1 4294967295\n"
              "\n"
              "  Default gateway:  10.0.0.254  (02-00-00-00-00-0A)\n"
              "\n");
}

TEST_F(ReportTest, MissingTablesLeaveTheSectionShort) {
    tables.parametersCode = tables.routesCode = tables.addressesCode = 5;
    EXPECT_EQ(NetworkSection(), "-------------------------  Network Information  -------------------------\n"
                                "\n"
                                "\n"
                                "  Default gateway:  (none)  (unresponsive)\n"
                                "\n");
}

TEST_F(ReportTest, AKnownButEmptyRouteTableKeepsItsHeader) {
    tables.addressesCode = 5;
    const std::string text = NetworkSection();
    EXPECT_THAT(text, HasSubstr("  Network Address          Netmask"));
    EXPECT_THAT(text, HasSubstr("  Node Type . . . . . . . . . : (unknown)\n"));
    EXPECT_THAT(text, HasSubstr("  IP Routing Enabled. . . . . : no\n"));
}

TEST_F(ReportTest, ASilentGatewayIsUnresponsive) {
    tables.AddRoute({}, {}, {10, 0, 0, 254}, 7);
    EXPECT_THAT(NetworkSection(), HasSubstr("\n  Default gateway:  10.0.0.254  (unresponsive)\n\n"));
}

TEST_F(ReportTest, AdaptersLineByLine) {
    adapters.entries = {MakeAdapter(L"main", kMacA, {10, 0, 0, 1}, {255, 255, 0, 0}, {10, 0, 0, 254})};
    ADAPTER_INFO_LIST_ENTRY& entry = adapters.entries[0];
    entry.dwIndex = 0x1F;
    entry.DHCP = 1;
    entry.ChecksumOffloadPresent = 1;
    entry.V4Transmit = kChecksumTcp | kChecksumIp;
    entry.V6Receive = kChecksumUdp;
    library.defaultInterface = "02-00-00-00-00-0A";
    EXPECT_EQ(AdapterSection(), "--------------------------  Detected Adapters  --------------------------\n"
                                "\n"
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
                                "LSO v2 (IPv6)       = no?\n"
                                "\n");
    EXPECT_EQ(adapters.open, 0) << "every adapter that was opened is closed again";
}

TEST_F(ReportTest, OnlyTheDefaultAdapterIsWarnedOf) {
    UseDefaultAdapter();
    for (ADAPTER_INFO_LIST_ENTRY& entry : adapters.entries) {
        entry.MediaConnected = 0;
        entry.PromiscuousMode = 0;
        entry.ChecksumOffloadOverridden = 1;
        entry.ChecksumOffloadPresent = 1;
    }
    const std::string text = AdapterSection();
    EXPECT_THAT(text, HasSubstr("MediaConnected?     = No                   ** CABLE UNPLUGGED **\n"));
    EXPECT_THAT(text, HasSubstr("PromiscuousMode?    = No                   ** WARNING **\n"));
    EXPECT_THAT(text, HasSubstr("Checksum Offloading = OVERRIDDEN\n"));
    const std::string warnings = BannerText(text, "WARNING:  ");
    EXPECT_THAT(warnings, HasSubstr("\"main\" is not connected to the network."));
    EXPECT_THAT(warnings, HasSubstr("\"main\" cannot be put into promiscuous mode"));
    EXPECT_THAT(warnings, Not(HasSubstr("\"other\"")));
    EXPECT_LT(text.find("Connection          = main"), text.find("WARNING:  *"));
    EXPECT_EQ(text.find("ERROR:"), std::string::npos);
}

TEST_F(ReportTest, AnAdapterThatDoesNotOpenIsNamedAndTheNextOneTried) {
    UseDefaultAdapter();
    adapters.failOpen = {L"NPF_main"};
    adapters.entries.push_back(MakeAdapter(L"third"));
    const std::string text = AdapterSection();
    EXPECT_THAT(text, HasSubstr("** WrenPackOpenAdapter(NPF_main) failed; rc=5: " +
                                ToNarrow(FormatLastError(5)) + "\n"));
    EXPECT_THAT(BannerText(text, "ERROR:  "), HasSubstr("Your default adapter \"main\" could not be opened"));
    EXPECT_THAT(text, HasSubstr("Connection          = third\n"));
    EXPECT_EQ(adapters.opened, (std::vector<std::wstring>{L"NPF_other", L"NPF_third"}));
    EXPECT_EQ(adapters.open, 0);
}

TEST_F(ReportTest, NoAdapterThatOpensIsNoUsableAdapter) {
    UseDefaultAdapter();
    library.defaultInterface.clear();
    adapters.failOpen = {L"NPF_main", L"NPF_other"};
    const std::string text = AdapterSection();
    EXPECT_THAT(BannerText(text, "ERROR:  "),
                HasSubstr("No usable adapters of the packet library were found."));
    EXPECT_THAT(text, Not(HasSubstr("Default Adapter?    = Yes")));
}

TEST_F(ReportTest, WithoutAdaptersThereIsTheBannerAndNothingElse) {
    const std::string text = AdapterSection();
    const std::string heading =
        "--------------------------  Detected Adapters  --------------------------\n\n";
    ASSERT_THAT(text, StartsWith(heading));
    const std::string rest = text.substr(heading.size());
    EXPECT_THAT(rest, StartsWith("ERROR:  *"));
    std::size_t at = 0;
    for (; rest[at] != '\n'; at = rest.find('\n', at) + 1) {
        EXPECT_EQ(rest.substr(at, 9), "ERROR:  *");
    }
    EXPECT_EQ(rest.substr(at), "\n");
    EXPECT_THAT(BannerText(text, "ERROR:  "), HasSubstr("839013"));
}

TEST_F(ReportTest, ModulesAreNamedWithTheirVersions) {
    network.InitGlobals();
    adapters.driver.driverVersion = L"7.8";
    ReportContext context;
    context.programName = L"prog";
    context.programVersion = L"1.0.0.1";
    context.buildDate = L"Jan  2 2026";
    context.buildTime = L"03:04:05";
    context.specialBuild = L"special";
    context.copyright = L"copyright";
    TakeText();
    WriteModules(network, context);
    EXPECT_THAT(TakeText(),
                StartsWith("Begin prog, version: \"1.0.0.1\" (Jan  2 2026) 03:04:05 special ...\n"
                           "copyright\n"
                           "\n"
                           "Using WinPCap driver, version \"4.5\" (detail), driver version \"7.8\" ...\n"
                           "\n"
                           "Using WrenPack, version: \"1.2.3.4\" (test) ...\n"
                           "(c)\n"
                           "\n"
                           "Using scripted, version: \"scripted\" (built into this program) ...\n"
                           "copyright\n"
                           "\n"
                           "Using WrenLib, version: \"1.0.0.1\" (built into this program) ...\n"));
}

TEST_F(ReportTest, AMissingPacketDriverIsAnError) {
    network.InitGlobals();
    adapters.driver.usable = false;
    adapters.driver.problem = L"It is not there: 100%s sure.";
    TakeText();
    WriteModules(network, ReportContext());
    const std::string text = TakeText();
    EXPECT_THAT(BannerText(text, "ERROR:  "), HasSubstr("It is not there: 100%s sure."));
    EXPECT_THAT(text, Not(HasSubstr("WinPCap")));
}

TEST_F(ReportTest, SectionsComeInTheirOrder) {
    network.InitGlobals();
    TakeText();
    WriteStartupReport(network, ReportContext());
    const std::string text = TakeText();
    std::size_t last = 0;
    for (const char* heading :
         {"Running in ", "Begin VNXTest64UD, version: \"", "Using WinPCap ",
          "---------  The following relevant DosDevices are defined ---------\n\n",
          "-------------------------  Network Information  -------------------------\n\n",
          "--------------------------  Detected Adapters  --------------------------\n\n"}) {
        const std::size_t at = text.find(heading);
        ASSERT_NE(at, std::string::npos) << heading;
        EXPECT_GE(at, last) << heading;
        last = at;
    }
    EXPECT_THAT(text, StartsWith("Running in "));
    EXPECT_EQ(text.find("  (MP="), std::string::npos);
}

} // namespace
} // namespace vnxtest
