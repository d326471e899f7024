// A whole guest on the simulated LAN: a host that knows only its gateway, a front end that confirms the
// parameters and the ping dialog as the test has filled them in.
#pragma once

#include <algorithm>
#include <string>

#include "support/guest_fixture.h"
#include "support/output_fixture.h"
#include "support/quiet_host.h"
#include "vnetx/sim_lan.h"

namespace vnxtest {

inline int CountOf(const std::string& text, const std::string& what) {
    int count = 0;
    for (std::size_t at = text.find(what); at != std::string::npos; at = text.find(what, at + 1)) {
        ++count;
    }
    return count;
}

struct SimGuest {
    explicit SimGuest(VnetxLibrary& library)
        : host(library), guest(library, host.network, settings, frontEnd) {
        host.network.SetDefaultGateway(kSimGatewayIp, kSimGatewayMac);
        parameters.interface1 = {true, L"198.18.0.111", L"02-00-5E-80-00-6F", FormatIPAddr(kSimAdapterIp),
                                 L""};
        who.plan.targetName = L"198.18.0.2";
        who.plan.target = kSimFirstEchoHost;
        who.plan.delay = 0;
        frontEnd.askParameters = [this](GuestParameters& asked) {
            asked = parameters;
            return true;
        };
        frontEnd.askPingWho = [this](PingWhoParameters& asked) {
            asked = who;
            return true;
        };
    }

    void UseInterface2() {
        parameters.useTwoInterfaces = true;
        parameters.interface2 = {false, L"198.18.0.222", L"02-00-5E-80-00-DE", FormatIPAddr(kSimAdapterIp),
                                 L""};
    }

    // Starts the guest; returns when all interfaces are open, or when one has failed and the guest has ended.
    void Start() {
        frontEnd.PumpLeftovers(guest);
        if (guest.OnStartGuest()) {
            const int wanted = parameters.useTwoInterfaces ? 2 : 1;
            EXPECT_TRUE(
                frontEnd.Pump(guest, [&] { return frontEnd.opened == wanted || !guest.IsRunning(); }));
        }
    }
    void Ping() {
        EXPECT_TRUE(guest.OnTestStartPing());
        EXPECT_TRUE(frontEnd.Pump(guest, [this] { return !guest.IsPinging(); }));
    }

    MemoryProfile profile;
    Settings settings{profile};
    ScriptedFrontEnd frontEnd;
    QuietHost host;
    Guest guest;
    GuestParameters parameters; // of the next start
    PingWhoParameters who;      // of the next ping test
};

} // namespace vnxtest
