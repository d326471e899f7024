// The whole engine on the simulated LAN.
#include "guest/sim_guest.h"

namespace vnxtest {
namespace {

class GuestTest : public OutputFixture {
protected:
    const std::unique_ptr<SimLibrary> m_lan = MakeLan(L"seed=7");
    SimGuest m_sim{*m_lan};
    Guest& m_guest = m_sim.guest;
};

TEST_F(GuestTest, OneFailingInterfaceStopsTheOther) {
    m_sim.UseInterface2(L"198.18.0.77"); // no adapter has this address
    m_sim.Start();
    EXPECT_FALSE(m_guest.IsRunning());
    EXPECT_EQ(m_guest.Interface(0).handle, -1);
    std::string text = TakeText();
    const char* const told =
        "** CreateInterface(198.18.0.77): vnetx32_open failed; errno=19: No such device\n";
    EXPECT_EQ(CountOf(text, told), 1) << text;
    EXPECT_EQ(CountOf(text, "*** Statistics for Interface "), 1) << text;

    // The guest starts again afterwards.
    m_sim.UseInterface2();
    m_sim.Start();
    m_sim.who.fromInterface = 1;
    m_sim.Ping();
    EXPECT_TRUE(m_sim.twoOffered);
    m_guest.StopGuest();
    text = TakeText();
    EXPECT_EQ(CountOf(text, " Ping test successful.\n"), 1) << text;
    EXPECT_EQ(CountOf(text, "*** Statistics for Interface "), 2) << text;
}

TEST_F(GuestTest, StoresWhatWasConfirmedAndOnlyThen) {
    m_sim.confirm = false;
    EXPECT_FALSE(m_guest.OnStartGuest());
    m_sim.confirm = true;
    m_sim.parameters.store = false;
    m_sim.Start();
    EXPECT_TRUE(m_guest.IsRunning());
    EXPECT_TRUE(m_sim.profile.texts.empty());
    m_guest.StopGuest();
    m_sim.parameters.store = true;
    m_sim.Start();
    EXPECT_EQ(m_sim.profile.texts[L"Interface1_strInterface_IPAddr"], L"198.18.0.111");
    m_sim.Ping();
    EXPECT_EQ(m_sim.profile.numbers[L"WhoPingIPAddr"], kSimFirstEchoHost.Memory());
    EXPECT_EQ(m_sim.profile.numbers[L"PingDelay"], 0U);
}

TEST_F(GuestTest, WhatWasDerivedFollowsTheNextParameters) {
    m_sim.Start();
    EXPECT_EQ(m_guest.Interface(0).broadcastText, L"255.255.255.255"); // this host knows no mask
    EXPECT_EQ(m_guest.Interface(0).adapterMac, kSimAdapterMac);
    m_guest.StopGuest();
    m_sim.parameters.interface1.adapterIpText.clear();
    m_sim.parameters.interface1.adapterMacText = FormatMACAddr(kSimAdapterMac);
    m_sim.Start();
    EXPECT_EQ(m_guest.Interface(0).adapterIp, kSimAdapterIp); // asked of the library by its MAC
}

} // namespace
} // namespace vnxtest
