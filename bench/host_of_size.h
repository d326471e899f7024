// A host with as many adapters and routes as are asked for, as plain values, without asking the system for
// any.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "hostnet/host_network.h"

namespace vnxtest {

// The address of number `index` in 10.0.0.0/8, away from its ends.
inline Ipv4Address NumberedAddress(std::uint32_t index) {
    const std::uint32_t number = index + 0x100;
    return {10, static_cast<std::uint8_t>(number >> 16), static_cast<std::uint8_t>(number >> 8),
            static_cast<std::uint8_t>(number)};
}

class TablesOfSize final : public HostTables {
public:
    TablesOfSize(std::uint32_t adapters, std::uint32_t routes) {
        for (std::uint32_t i = 0; i < adapters; ++i) {
            m_addresses.push_back({NumberedAddress(i * 256 + 1), Ipv4Address::Mask(24), i + 2});
        }
        for (std::uint32_t i = 0; i < routes; ++i) {
            m_routes.push_back(
                {NumberedAddress(i), Ipv4Address::Mask(32), NumberedAddress(254), i % adapters + 2, 100});
        }
    }

    Result<NetworkParameters> ReadParameters() override {
        NetworkParameters parameters;
        parameters.hostName = L"bench";
        return parameters;
    }
    Result<std::vector<HostRoute>> ReadRoutes() override { return m_routes; }
    Result<std::vector<HostAddress>> ReadAddresses() override { return m_addresses; }
    std::optional<MacAddress> SendARP(Ipv4Address, Ipv4Address) override { return std::nullopt; }

private:
    std::vector<HostRoute> m_routes;
    std::vector<HostAddress> m_addresses;
};

class AdaptersOfSize final : public WrenPackLibrary {
public:
    explicit AdaptersOfSize(std::uint32_t count) {
        for (std::uint32_t i = 0; i < count; ++i) {
            HostAdapter adapter;
            adapter.driverName = DriverNameOf(L"bench" + std::to_wstring(10'000 + i));
            adapter.connection = L"bench" + std::to_wstring(10'000 + i);
            adapter.description = L"An adapter of the benchmarks";
            adapter.index = i + 2;
            adapter.mac = MacAddress(
                {0x02, 0x77, 0, 0, static_cast<std::uint8_t>(i >> 8), static_cast<std::uint8_t>(i)});
            adapter.address = NumberedAddress(i * 256 + 1);
            adapter.mask = Ipv4Address::Mask(24);
            adapter.linkSpeed = 1'000'000'000;
            adapter.mediaConnected = true;
            adapter.largestPacket = 1514;
            adapter.promiscuous = true;
            adapter.dhcp = false;
            m_adapters.push_back(adapter);
        }
    }

    Result<std::vector<HostAdapter>> ListAdapters() override { return m_adapters; }
    Result<AdapterHandle> OpenAdapter(const HostAdapter& adapter) override {
        return const_cast<HostAdapter*>(&adapter);
    }
    void CloseAdapter(AdapterHandle) override {}
    ModuleDescription DescribeModule() const override { return {}; }
    PacketDriverDescription DescribePacketDriver() const override { return {}; }

private:
    std::vector<HostAdapter> m_adapters;
};

struct HostOfSize {
    HostOfSize(std::uint32_t adapterCount, std::uint32_t routeCount)
        : tables(adapterCount, routeCount), adapters(adapterCount) {}

    TablesOfSize tables;
    AdaptersOfSize adapters;
    HostNetwork network{HostSources{tables, adapters, [] { return std::wstring(); }}};
};

} // namespace vnxtest
