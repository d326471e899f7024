#include <cerrno>

#include <gmock/gmock.h>

#include "core/interface_lifecycle.h"
#include "support/output_fixture.h"

namespace vnxtest {
namespace {

using ::testing::HasSubstr;

class InterfaceLifecycleTest : public OutputFixture {
protected:
    InterfaceLifecycleTest() {
        m_info.asked.guestIpText = L"10.1.2.111";
        m_info.asked.guestMacText = L"02-00-5E-81-02-6F";
        m_info.asked.adapterIpText = L"10.1.2.3";
        m_info.addresses.broadcastText = L"10.1.2.255";
        m_info.addresses.netMask = Ipv4Address(255, 255, 255, 0);
        m_info.addresses.inAdapterSubnet = true;
    }

    std::int32_t Create() { return CreateInterface(m_info, m_library, m_settings); }

    std::vector<std::uint32_t> Codes() const {
        std::vector<std::uint32_t> codes(m_library.requests.size());
        std::ranges::transform(m_library.requests, codes.begin(), &ScriptedLibrary::Request::code);
        return codes;
    }
    VnetxInterfaceRequest Record(std::uint32_t code) const {
        const auto found = std::ranges::find(m_library.requests, code, &ScriptedLibrary::Request::code);
        EXPECT_NE(found, m_library.requests.end()) << "no request " << std::hex << code;
        return found != m_library.requests.end() ? found->record : VnetxInterfaceRequest{};
    }

    INTERFACE_INFO m_info;
    RunSettings m_settings;
};

TEST_F(InterfaceLifecycleTest, ConfiguresStepByStep) {
    EXPECT_EQ(Create(), 3);
    EXPECT_EQ(m_info.open.Handle(), 3);
    EXPECT_EQ(m_library.openedName, "10.1.2.3");
    EXPECT_EQ(m_library.openedFlags, 2);
    EXPECT_EQ(Codes(), (std::vector<std::uint32_t>{0x800454C9, 0x800454CA, 0x8916, 0x8918, 0x891C, 0x891A,
                                                   0x8924, 0x800454DE, 0x800454DC, 0x800454DD, 0x8914}));
    EXPECT_EQ(Record(VNETX_TUNSETDEBUG).u.value, 0x80008080U);
    EXPECT_EQ(Record(VNETX_TUNSETIFF).u.flags, 0x1001U);
    EXPECT_EQ(Record(VNETX_SIOCSIFNETMASK).u.inet.address[3], 0);
    EXPECT_EQ(Record(VNETX_SIOCSIFHWADDR).u.hardware.family, VNETX_ARPHRD_ETHER);
    EXPECT_EQ(Record(VNETX_VNXSTIMEOUT).u.value, 250U);
    EXPECT_EQ(Record(VNETX_VNXSDEVBUFF).u.value, 1048576U);
    EXPECT_EQ(Record(VNETX_VNXSIOBUFF).u.value, 65536U);
    EXPECT_EQ(m_library.requests.back().record.u.flags, 1U) << "up, and no debug flag";
    EXPECT_EQ(TakeText(), "*** Interface vnx0 enabled/up... (ip=10.1.2.111, mac=02-00-5E-81-02-6F)\n\n");
}

TEST_F(InterfaceLifecycleTest, FollowsModesAndMissingTexts) {
    m_info.asked.tapMode = true;
    m_info.asked.adapterIpText.clear();
    m_info.asked.adapterMacText = L"02-11-22-33-44-55";
    m_info.asked.guestMacText.clear();
    m_info.addresses.broadcastText.clear();
    m_info.addresses.inAdapterSubnet = false;
    m_settings.debugMode = true;
    m_settings.socketNotifyMode = true;
    EXPECT_EQ(Create(), 3);
    EXPECT_EQ(m_library.openedName, "02-11-22-33-44-55");
    EXPECT_EQ(m_library.openedFlags, 0x8000002);
    EXPECT_EQ(Codes(), (std::vector<std::uint32_t>{0x800454C9, 0x800454CA, 0x8914, 0x8918, 0x891C, 0x8927,
                                                   0x800454DC, 0x800454DD, 0x8914}));
    EXPECT_EQ(Record(VNETX_TUNSETIFF).u.flags, 0x1002U);
    EXPECT_EQ(Record(VNETX_SIOCSIFNETMASK).u.inet.address[3], 255);
    EXPECT_EQ(m_library.requests.back().record.u.flags, 5U);
    EXPECT_EQ(FormatMACAddr(m_info.addresses.guestMac), L"02-00-00-00-00-09");
    EXPECT_THAT(TakeText(), ::testing::Not(HasSubstr("Assertion Failed")));
    m_library.hardwareFamily = VNETX_AF_INET;
    EXPECT_EQ(Create(), 3);
    EXPECT_THAT(TakeText(), HasSubstr("** Assertion Failed **\n")) << "no MAC address of an Ethernet";
}

// Each single failure: tests/guest/test_faults.cpp.
TEST_F(InterfaceLifecycleTest, AFailureClosesAndKeepsItsErrno) {
    const std::string closed = " closed... (ip=10.1.2.111, mac=02-00-5E-81-02-6F)\n";
    m_library.failRequests = {{VNETX_SIOCSIFHWADDR, ENODEV}};
    EXPECT_EQ(Create(), -1);
    EXPECT_EQ(errno, ENODEV);
    m_library.failRequests.clear();
    TakeText();
    m_library.interfaceName.clear();
    EXPECT_EQ(Create(), -1);
    EXPECT_EQ(TakeText(), "** CreateInterface(10.1.2.3): interface name is empty!\n*** Interface " + closed);
    m_library.interfaceName = "vnx0";
    m_info.asked.guestIpText.clear();
    EXPECT_EQ(Create(), -1);
    EXPECT_THAT(TakeText(), HasSubstr(": interface IP address is empty!\n"));
    EXPECT_FALSE(m_library.IsOpen());
}

TEST_F(InterfaceLifecycleTest, WhatIsOpenIsClosedWithItsRecordAndWithdrawnBefore) {
    {
        INTERFACE_INFO info;
        info.asked = m_info.asked;
        EXPECT_EQ(CreateInterface(info, m_library, m_settings), 3);
        EXPECT_TRUE(m_library.IsOpen());
    }
    EXPECT_FALSE(m_library.IsOpen());
    Create();
    m_info.open.Close();
    EXPECT_EQ(m_info.open.Handle(), -1);
    m_info.open.WithHandle([](std::int32_t) { FAIL() << "there is nobody to wake"; });
}

TEST_F(InterfaceLifecycleTest, StatisticsAreReportedToTheLetter) {
    Create();
    TakeText();
    ReportStatisticsAndClose(m_info, m_library);
    EXPECT_EQ(m_info.open.Handle(), -1);
    EXPECT_FALSE(m_library.IsOpen());
    EXPECT_TRUE(m_info.counted.statistics);
    EXPECT_EQ(TakeText(), "*** Statistics for Interface vnx0:\n\n"
                          "Size of Kernel Capture Buffer:    1025K\n"
                          "Size of DLL I/O Buffer:             64K\n"
                          "Maximum DLL I/O Bytes Received:      4K\n\n"
                          "        1  Total Write Calls\n"
                          "        2  Total Write I/Os\n"
                          "       13  Packets To All Zeroes MAC Written\n"
                          "       15  Packets From All Zeroes MAC Written\n"
                          "        6  Total Packets Written\n"
                          "        8  Total Bytes Written\n\n"
                          "        3  Total Read Calls\n"
                          "        4  Total Read I/Os\n"
                          "        9  Internally Handled ARP Packets\n"
                          "       11  Packets From Ourself\n"
                          "       10  Total Ignored Packets\n"
                          "       12  Packets To All Zeroes MAC Read\n"
                          "       14  Packets From All Zeroes MAC Read\n"
                          "        5  Total Packets Read\n"
                          "        7  Total Bytes Read\n\n"
                          "** Interface vnx0 closed... (ip=10.1.2.111, mac=02-00-5E-81-02-6F)\n");
}

} // namespace
} // namespace vnxtest
