// A host with adapters of the test's choice, and the assertion lines that the program writes meanwhile.
//
// The library's default adapter is the first of the list that has no MAC of its own.
#pragma once

#include <sstream>
#include <string>
#include <vector>

#include "core/debug_output.h"
#include "core/interface_helpers.h"
#include "core/output_channel.h"
#include "core/view_port.h"
#include "hostnet/scripted_host.h"
#include "settings/derived_address.h"
#include "wrenlib/text.h"

namespace vnxtest {

struct TestAdapter {
    Ipv4Address address;
    Ipv4Address mask;
    std::wstring name = L"eth0";
    MacAddress mac{}; // zeroes: the library's default
};

class TestHost final : public ScriptedHost, private ViewPort {
public:
    explicit TestHost(const std::vector<TestAdapter>& list) {
        library.defaultInterface = kMacTextA;
        for (const auto& [address, mask, name, mac] : list) {
            adapters.entries.push_back(MakeAdapter(name, mac.IsZero() ? kMacA : mac, address, mask));
        }
        m_output.Attach();
        RegisterDebugOutput(library);
        network.RedetectAdapters();
    }

    // How many assertion lines were written since the last call; any other line counts a thousand.
    int TakeAssertions() {
        std::istringstream lines(m_output.TakePending());
        int count = 0;
        for (std::string line; std::getline(lines, line);) {
            count += line.ends_with("): ** Assertion Failed **") ? 1 : 1000;
        }
        return count;
    }

    // What a guest's addresses are derived from on this host.
    AddressSources Sources() {
        AddressSources sources{.guestMac = [this](Ipv4Address ip) { return GuestMacOf(library, ip); }};
        if (const HostAdapter* const adapter = network.DefaultAdapter()) {
            sources.defaultAdapter = {adapter->address, adapter->mask};
        }
        return sources;
    }

private:
    void PostViewMessage(ViewMessage) override {}

    OutputChannel m_output{*this};
};

// The text of the MAC that the host's library makes of a guest's address.
inline std::wstring GeneratedMac(TestHost& host, Ipv4Address ip) {
    return FormatMACAddr(GuestMacOf(host.library, ip));
}

} // namespace vnxtest
