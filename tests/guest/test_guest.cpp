#include "support/guest_fixture.h"
#include "support/output_fixture.h"
#include "support/quiet_host.h"
#include "vnetx/sim.h"

namespace vnxtest {
namespace {

// The whole engine on the simulated LAN.
class GuestTest : public OutputFixture {
protected:
    GuestTest() {
        std::wstring error;
        m_sim = MakeSimLibrary(L"seed=7", error);
        EXPECT_TRUE(m_sim) << ::testing::PrintToString(error);
        m_host = std::make_unique<QuietHost>(*m_sim);
        m_host->network.SetDefaultGateway(kSimGatewayIp, kSimGatewayMac);
        m_guest = std::make_unique<Guest>(*m_sim, m_host->network, m_settings, m_frontEnd);
        m_parameters.interface1 = {true, L"198.18.0.111", L"02-00-5E-80-00-6F", FormatIPAddr(kSimAdapterIp),
                                   L""};
        m_frontEnd.askParameters = [this](GuestParameters& parameters) {
            parameters = m_parameters;
            return true;
        };
        m_frontEnd.askPingWho = [this](PingWhoParameters& who) {
            m_twoOffered = who.twoInterfaces;
            who = m_who;
            return true;
        };
        m_who.to = L"198.18.0.2";
        m_who.address = kSimFirstEchoHost;
        m_who.delay = 0;
    }

    void UseInterface2(const std::wstring& adapter) {
        m_parameters.useTwoInterfaces = true;
        m_parameters.interface2 = {false, L"198.18.0.222", L"02-00-5E-80-00-DE", adapter, L""};
    }
    void StartAndOpen(int interfaces = 1) {
        ASSERT_TRUE(m_guest->OnStartGuest());
        ASSERT_TRUE(m_frontEnd.Pump(*m_guest, [&] { return m_frontEnd.opened >= interfaces; }));
    }
    std::string Ping() {
        EXPECT_TRUE(m_guest->OnTestStartPing());
        EXPECT_TRUE(m_frontEnd.Pump(*m_guest, [&] { return !m_guest->IsPinging(); }));
        return TakeText();
    }
    static int CountOf(const std::string& text, const std::string& what) {
        int count = 0;
        for (std::size_t at = text.find(what); at != std::string::npos; at = text.find(what, at + 1)) {
            ++count;
        }
        return count;
    }

    MemoryProfile m_profile;
    Settings m_settings{m_profile};
    ScriptedFrontEnd m_frontEnd;
    std::unique_ptr<SimLibrary> m_sim;
    std::unique_ptr<QuietHost> m_host;
    std::unique_ptr<Guest> m_guest;
    GuestParameters m_parameters;
    PingWhoParameters m_who;
    bool m_twoOffered = false;
};

TEST_F(GuestTest, OneFailingInterfaceStopsTheOther) {
    UseInterface2(L"198.18.0.77"); // no adapter has this address
    ASSERT_TRUE(m_guest->OnStartGuest());
    EXPECT_TRUE(m_frontEnd.Pump(*m_guest, [&] { return !m_guest->IsRunning(); }));
    const std::string text = TakeText();
    EXPECT_EQ(
        CountOf(text, "** CreateInterface(198.18.0.77): vnetx32_open failed; errno=19: No such device\n"), 1)
        << text;
    EXPECT_EQ(CountOf(text, "*** Statistics for Interface "), 1) << text;
    EXPECT_FALSE(m_guest->IsRunning());
    EXPECT_EQ(m_guest->Interface(0).handle, -1);

    // The guest starts again afterwards.
    UseInterface2(FormatIPAddr(kSimAdapterIp));
    m_frontEnd.PumpLeftovers(*m_guest);
    StartAndOpen(2);
    m_who.fromInterface = 1;
    EXPECT_EQ(CountOf(Ping(), " Ping test successful.\n"), 1);
    EXPECT_TRUE(m_twoOffered);
    m_guest->StopGuest();
    EXPECT_EQ(CountOf(TakeText(), "*** Statistics for Interface "), 2);
}

TEST_F(GuestTest, StoresWhatWasConfirmedAndOnlyThen) {
    m_frontEnd.askParameters = [](GuestParameters&) { return false; };
    EXPECT_FALSE(m_guest->OnStartGuest());
    EXPECT_TRUE(m_profile.texts.empty());
    m_parameters.store = false;
    m_frontEnd.askParameters = [this](GuestParameters& parameters) {
        parameters = m_parameters;
        return true;
    };
    StartAndOpen();
    EXPECT_TRUE(m_profile.texts.empty());
    m_guest->StopGuest();
    m_parameters.store = true;
    m_frontEnd.PumpLeftovers(*m_guest);
    StartAndOpen();
    EXPECT_EQ(m_profile.texts[L"Interface1_strInterface_IPAddr"], L"198.18.0.111");
    Ping();
    EXPECT_EQ(m_profile.numbers[L"WhoPingIPAddr"], kSimFirstEchoHost.Memory());
    EXPECT_EQ(m_profile.numbers[L"PingDelay"], 0U);
}

TEST_F(GuestTest, WhatWasDerivedFollowsTheNextParameters) {
    StartAndOpen();
    EXPECT_EQ(m_guest->Interface(0).broadcastText, L"255.255.255.255"); // this host knows no mask
    EXPECT_EQ(m_guest->Interface(0).adapterMac, kSimAdapterMac);
    m_guest->StopGuest();
    m_parameters.interface1.adapterIpText.clear();
    m_parameters.interface1.adapterMacText = FormatMACAddr(kSimAdapterMac);
    m_frontEnd.PumpLeftovers(*m_guest);
    StartAndOpen();
    EXPECT_EQ(m_guest->Interface(0).adapterIp, kSimAdapterIp); // asked of the library by its MAC
}

} // namespace
} // namespace vnxtest
