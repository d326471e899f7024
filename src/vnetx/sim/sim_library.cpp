#include <cerrno>

#include "vnetx/failure.h"
#include "vnetx/sim/sim.h"
#include "vnetx/sim/sim_driver.h"
#include "vnetx/sim/sim_gate.h"
#include "wrenlib/text.h"

namespace vnxtest {

namespace {

bool IsAdapterName(const char* name) {
    const std::wstring text = ToWide(name);
    return ParseIPAddress(text) == kSimAdapterIp || ParseMACAddress(text) == kSimAdapterMac;
}

class SimAdapter final : public Neighbourhood {
    MacAddress FindMac(Ipv4Address address) override {
        return address == kSimAdapterIp ? kSimAdapterMac : MacAddress();
    }
    Ipv4Address FindIp(MacAddress mac) override {
        return mac == kSimAdapterMac ? kSimAdapterIp : Ipv4Address();
    }
};

} // namespace

SimLibrary::SimLibrary(const SimOptions& options)
    : BuiltinLibrary(L"built-in sim"), m_network(std::make_shared<SimNetwork>(options)),
      m_defaultInterface(ToNarrow(FormatMACAddr(kSimAdapterMac))) {}

std::int32_t SimLibrary::Open(const char* name, std::int32_t flags) {
    if (name && !IsAdapterName(name)) {
        return Fail(ENODEV);
    }
    return BuiltinLibrary::Open(name, flags);
}

Neighbourhood& SimLibrary::Adapters() {
    static SimAdapter adapter;
    return adapter;
}

std::unique_ptr<ReaderGate> SimLibrary::MakeGate(bool socketNotify) {
    std::unique_ptr<NotifySocket> socket;
    if (socketNotify) {
        socket = NotifySocket::Create();
        if (!socket) {
            return nullptr;
        }
    }
    return std::make_unique<SimGate>(m_network->AddPort(), std::move(socket));
}

DriverParts SimLibrary::MakeDriver(std::string_view, InterfaceState& state) {
    return PartsOf(std::make_unique<SimDriver>(m_network, static_cast<SimGate&>(*state.gate).Port(), state));
}

Result<std::unique_ptr<SimLibrary>> MakeSimLibrary(std::wstring_view options) {
    auto parsed = ParseSimOptions(options);
    if (!parsed) {
        return PassOn(parsed);
    }
    return std::make_unique<SimLibrary>(*parsed);
}

} // namespace vnxtest
