// A host under a test's control: tables, adapters, ARP answers and the library's default adapter are
// what the test says, and each of them can fail. For faults and for exact texts; the real sources are
// tested against the real system.
#pragma once

#include <cstring>
#include <map>
#include <mutex>
#include <span>
#include <string>
#include <vector>

#include "core/output_channel.h"
#include "hostnet/host_network.h"
#include "support/scripted_library.h"
#include "wrenlib/trace.h"
#include "wrenpack/scripted_wrenpack.h"

namespace vnxtest {

class ScriptedTables : public HostTables {
public:
    std::uint32_t GetNetworkParams(void* buffer, std::uint32_t* size) override {
        return Fill(parametersCode, std::vector<RawAddressRow>(), buffer, size);
    }
    std::uint32_t GetIpForwardTable(void* buffer, std::uint32_t* size) override {
        return Fill(routesCode, routes, buffer, size);
    }
    std::uint32_t GetIpAddrTable(void* buffer, std::uint32_t* size) override {
        return Fill(addressesCode, addresses, buffer, size);
    }
    NetworkParameters DecodeNetworkParams(const std::vector<std::uint8_t>&) const override {
        return networkParameters;
    }
    std::uint32_t SendARP(Ipv4Address destination, Ipv4Address source, std::uint8_t* mac,
                          std::uint32_t* length) override {
        probes.emplace_back(destination, source);
        if (!answers.contains(destination)) {
            return kErrorNoAnswer;
        }
        *length = static_cast<std::uint32_t>(answers[destination].size());
        std::ranges::copy(answers[destination], mac);
        return 0;
    }

    void AddRoute(Ipv4Address destination, Ipv4Address mask, Ipv4Address nextHop, std::uint32_t index,
                  std::uint32_t metric = 0, std::uint32_t type = 4) {
        routes.push_back(
            {destination.Memory(), mask.Memory(), 0, nextHop.Memory(), index, type, 0, 0, 0, {metric}});
    }
    void AddAddress(Ipv4Address address, Ipv4Address mask, std::uint32_t index) {
        addresses.push_back({address.Memory(), index, mask.Memory()});
    }

    NetworkParameters networkParameters;
    std::vector<RawRouteRow> routes;
    std::vector<RawAddressRow> addresses;
    std::uint32_t parametersCode = 0, routesCode = 0, addressesCode = 0;
    std::map<Ipv4Address, std::vector<std::uint8_t>> answers;
    std::vector<std::pair<Ipv4Address, Ipv4Address>> probes; // destination, source

private:
    template <typename Row>
    static std::uint32_t Fill(std::uint32_t code, const std::vector<Row>& rows, void* buffer,
                              std::uint32_t* size) {
        std::vector<std::uint32_t> words(1 + rows.size() * sizeof(Row) / 4);
        words[0] = static_cast<std::uint32_t>(rows.size());
        std::ranges::copy(std::as_bytes(std::span(rows)),
                          std::as_writable_bytes(std::span(words).subspan(1)).data());
        return code != 0 ? code : FillFrom(words.data(), words.size() * 4, buffer, size);
    }
};

inline constexpr MacAddress kMacA({0x02, 0, 0, 0, 0, 0x0A});
inline constexpr MacAddress kMacB({0x02, 0, 0, 0, 0, 0x0B});
inline constexpr char kMacTextA[] = "02-00-00-00-00-0A";
inline constexpr char kMacTextB[] = "02-00-00-00-00-0B";
inline constexpr Ipv4Address kMask24(255, 255, 255, 0);

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
    HostNetwork network{{tables, adapters}, library};

private:
    std::mutex m_lock;
    std::vector<std::wstring> m_traced;
};

} // namespace vnxtest
