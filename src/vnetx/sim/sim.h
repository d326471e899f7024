// The `sim` library: a simulated LAN inside the process, for trying the program out and for tests.
//
// It needs no privilege and reaches no real network. Several may exist at once; they share nothing. Its
// addresses are in sim_lan.h, its impairments in sim_options.h, its counters in sim_counters.h.
#pragma once

#include <cstddef>
#include <memory>
#include <string>
#include <string_view>

#include "vnetx/driver/builtin_library.h"
#include "vnetx/sim/sim_network.h"

namespace vnxtest {

class SimLibrary final : public BuiltinLibrary {
public:
    explicit SimLibrary(const SimOptions& options);

    const SimOptions& Options() const { return m_network->Options(); }
    // The LAN's own count, of one interface (in the order of opening, from 0; closed ones stay) and
    // of all together. Any thread.
    SimCounters Counters(std::size_t interfaceOrder) const { return m_network->Counters(interfaceOrder); }
    SimCounters Counters() const { return m_network->Counters(); }

    // Refuses any name but the simulated adapter's addresses with ENODEV.
    std::int32_t Open(const char* name, std::int32_t flags) override;
    const char* GetDefaultIface() override { return m_defaultInterface.c_str(); }

private:
    std::unique_ptr<ReaderGate> MakeGate(bool socketNotify) override;
    DriverParts MakeDriver(std::string_view name, InterfaceState& state) override;
    Neighbourhood& Adapters() override;

    const std::shared_ptr<SimNetwork> m_network;
    const std::string m_defaultInterface;
};

// The simulated LAN with `options` ("loss=5,delay=20", or empty), not null; a failure's text is a sentence
// about the option that is refused.
Result<std::unique_ptr<SimLibrary>> MakeSimLibrary(std::wstring_view options);

} // namespace vnxtest
