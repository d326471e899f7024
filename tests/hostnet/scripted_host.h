// A host under a test's control: the test sets tables, adapters, ARP answers and the library's default
// adapter, and each of them can fail. For faults and exact texts; the real sources are tested against the
// real system.
#pragma once

#include <map>
#include <mutex>
#include <string>
#include <vector>

#include "core/debug_output.h"
#include "hostnet/host_network.h"
#include "support/scripted_library.h"
#include "wrenlib/text.h"
#include "wrenlib/trace.h"
#include "wrenpack/scripted_wrenpack.h"

namespace vnxtest {

class ScriptedTables : public HostTables {
public:
    Result<NetworkParameters> ReadParameters() override { return Read(networkParameters, parametersCode); }
    Result<std::vector<HostRoute>> ReadRoutes() override { return Read(routes, routesCode); }
    Result<std::vector<HostAddress>> ReadAddresses() override { return Read(addresses, addressesCode); }
    std::optional<MacAddress> SendARP(Ipv4Address destination, Ipv4Address source) override {
        probes.emplace_back(destination, source);
        const auto answer = answers.find(destination);
        return answer != answers.end() ? std::optional(answer->second) : std::nullopt;
    }

    void AddRoute(Ipv4Address destination, Ipv4Address mask, Ipv4Address nextHop, std::uint32_t index,
                  std::uint32_t metric = 0) {
        routes.push_back({destination, mask, nextHop, index, metric});
    }
    void AddAddress(Ipv4Address address, Ipv4Address mask, std::uint32_t index) {
        addresses.push_back({address, mask, index});
    }

    NetworkParameters networkParameters;
    std::vector<HostRoute> routes;
    std::vector<HostAddress> addresses;
    std::uint32_t parametersCode = 0, routesCode = 0, addressesCode = 0;
    std::map<Ipv4Address, MacAddress> answers;
    std::vector<std::pair<Ipv4Address, Ipv4Address>> probes; // destination, source

private:
    template <typename Table>
    static Result<Table> Read(const Table& table, std::uint32_t code) {
        if (code != 0) {
            return FailedCall(L"a table", code);
        }
        return table;
    }
};

inline constexpr MacAddress kMacA({0x02, 0, 0, 0, 0, 0x0A});
inline constexpr MacAddress kMacB({0x02, 0, 0, 0, 0, 0x0B});
inline constexpr char kMacTextA[] = "02-00-00-00-00-0A";
inline constexpr char kMacTextB[] = "02-00-00-00-00-0B";
inline constexpr Ipv4Address kMask24(255, 255, 255, 0);

// The sources of a host whose default adapter is the library's.
inline HostSources SourcesOf(HostTables& tables, WrenPackLibrary& adapters, VnetxLibrary& library) {
    return {tables, adapters, [&library] { return ToWide(library.GetDefaultIface()); }};
}

// All of it together, and the lines of the debug trace meanwhile.
class ScriptedHost {
public:
    ScriptedHost() {
        SetTraceSink([this](std::wstring_view text) {
            const std::lock_guard lock(m_lock);
            m_traced.emplace_back(text);
        });
    }
    ~ScriptedHost() {
        SetTraceSink(nullptr);
        UnregisterDebugOutput();
    }
    ScriptedHost(const ScriptedHost&) = delete;
    ScriptedHost& operator=(const ScriptedHost&) = delete;
    std::vector<std::wstring> TakeTrace() {
        const std::lock_guard lock(m_lock);
        return std::exchange(m_traced, {});
    }

    ScriptedTables tables;
    ScriptedWrenPack adapters;
    ScriptedLibrary library;
    HostNetwork network{SourcesOf(tables, adapters, library)};

private:
    std::mutex m_lock;
    std::vector<std::wstring> m_traced;
};

} // namespace vnxtest
