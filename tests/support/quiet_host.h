// A host that knows nothing of its networking, for tests in which the engine must stand alone; the
// real tables have tests of their own.
#pragma once

#include "hostnet/host_network.h"

namespace vnxtest {

class QuietTables : public HostTables {
public:
    std::uint32_t GetNetworkParams(void*, std::uint32_t*) override { return kNotSupported; }
    std::uint32_t GetIpForwardTable(void*, std::uint32_t*) override { return kNotSupported; }
    std::uint32_t GetIpAddrTable(void*, std::uint32_t*) override { return kNotSupported; }
    NetworkParameters DecodeNetworkParams(const std::vector<std::uint8_t>&) const override { return {}; }
    std::uint32_t SendARP(Ipv4Address, Ipv4Address, std::uint8_t*, std::uint32_t*) override {
        return kNotSupported;
    }

private:
    static constexpr std::uint32_t kNotSupported = 50;
};

class QuietAdapters : public WrenPackLibrary {
public:
    bool GetAdaptersList(ADAPTER_INFO_LIST_ENTRY*, std::uint32_t* size) override {
        *size = 0;
        return false;
    }
    AdapterHandle OpenAdapter(const char16_t*) override { return nullptr; }
    void CloseAdapter(AdapterHandle) override {}
    ModuleDescription DescribeModule() const override { return {}; }
    PacketDriverDescription DescribePacketDriver() const override { return {}; }
};

// The engine's host with one library and nothing else.
struct QuietHost {
    explicit QuietHost(VnetxLibrary& library) : network({tables, adapters}, library) {}
    QuietTables tables;
    QuietAdapters adapters;
    HostNetwork network;
};

} // namespace vnxtest
