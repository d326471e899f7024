// A host under a test's control: tables, adapters, ARP answers and the library's default adapter are
// what the test says, and each of them can fail. For faults and for exact texts; the real sources are
// tested against the real system.
#pragma once

#include <cstring>
#include <map>
#include <string>
#include <vector>

#include "hostnet/host_network.h"
#include "support/scripted_library.h"
#include "wrenlib/trace.h"
#include "wrenpack/scripted_wrenpack.h"

namespace vnxtest {

class ScriptedTables : public HostTables {
public:
    std::uint32_t GetNetworkParams(void* buffer, std::uint32_t* size) override {
        const std::uint8_t byte = 1;
        return parametersCode != 0 ? parametersCode : FillFrom(&byte, 1, buffer, size);
    }
    std::uint32_t GetIpForwardTable(void* buffer, std::uint32_t* size) override {
        return routesCode != 0 ? routesCode : Fill(routes, buffer, size);
    }
    std::uint32_t GetIpAddrTable(void* buffer, std::uint32_t* size) override {
        return addressesCode != 0 ? addressesCode : Fill(addresses, buffer, size);
    }
    NetworkParameters DecodeNetworkParams(const std::vector<std::uint8_t>&) const override {
        return parameters;
    }
    std::uint32_t SendARP(Ipv4Address destination, Ipv4Address source, std::uint8_t* mac,
                          std::uint32_t* length) override {
        probes.emplace_back(destination, source);
        probeRoom = *length;
        const auto found = answers.find(destination);
        if (found == answers.end()) {
            return kErrorNoAnswer;
        }
        *length = static_cast<std::uint32_t>(found->second.size());
        std::ranges::copy(found->second, mac);
        return 0;
    }

    void AddRoute(Ipv4Address destination, Ipv4Address mask, Ipv4Address nextHop, std::uint32_t index,
                  std::uint32_t metric = 0, std::uint32_t type = 4) {
        RawRouteRow row;
        row.destination = destination.Memory();
        row.mask = mask.Memory();
        row.nextHop = nextHop.Memory();
        row.interfaceIndex = index;
        row.metrics[0] = metric;
        row.type = type;
        routes.push_back(row);
    }
    void AddAddress(Ipv4Address address, Ipv4Address mask, std::uint32_t index) {
        RawAddressRow row;
        row.address = address.Memory();
        row.mask = mask.Memory();
        row.interfaceIndex = index;
        addresses.push_back(row);
    }

    NetworkParameters parameters;
    std::vector<RawRouteRow> routes;
    std::vector<RawAddressRow> addresses;
    std::uint32_t parametersCode = 0, routesCode = 0, addressesCode = 0;
    std::map<Ipv4Address, std::vector<std::uint8_t>> answers;
    std::vector<std::pair<Ipv4Address, Ipv4Address>> probes; // destination, source
    std::uint32_t probeRoom = 0;

private:
    template <typename Row>
    static std::uint32_t Fill(const std::vector<Row>& rows, void* buffer, std::uint32_t* size) {
        std::vector<std::uint8_t> bytes(4 + rows.size() * sizeof(Row));
        const auto count = static_cast<std::uint32_t>(rows.size());
        std::memcpy(bytes.data(), &count, 4);
        if (!rows.empty()) {
            std::memcpy(bytes.data() + 4, rows.data(), rows.size() * sizeof(Row));
        }
        return FillFrom(bytes.data(), bytes.size(), buffer, size);
    }
};

// A library whose default adapter the test names.
class DefaultingLibrary : public ScriptedLibrary {
public:
    const char* GetDefaultIface() override { return defaultInterface.c_str(); }
    std::string defaultInterface;
};

// The lines of the debug trace, for as long as this lives.
class TraceCatcher {
public:
    TraceCatcher() {
        SetTraceSink([this](std::wstring_view text) { m_lines.emplace_back(text); });
    }
    ~TraceCatcher() { SetTraceSink(nullptr); }
    TraceCatcher(const TraceCatcher&) = delete;
    TraceCatcher& operator=(const TraceCatcher&) = delete;
    std::vector<std::wstring> Take() { return std::exchange(m_lines, {}); }

private:
    std::vector<std::wstring> m_lines;
};

inline constexpr MacAddress kMacA({0x02, 0, 0, 0, 0, 0x0A});
inline constexpr MacAddress kMacB({0x02, 0, 0, 0, 0, 0x0B});
inline constexpr Ipv4Address kMask24(255, 255, 255, 0);

} // namespace vnxtest
