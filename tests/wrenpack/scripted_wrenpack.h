// A host adapter library under a test's control: adapters of the test's choice, and every way in which
// a library can fail.
#pragma once

#include <optional>
#include <set>
#include <string>
#include <vector>

#include "wrenlib/address.h"
#include "wrenpack/wrenpack.h"

namespace vnxtest {

inline HostAdapter MakeAdapter(const std::wstring& name, MacAddress mac = {}, Ipv4Address address = {},
                               Ipv4Address mask = {}, Ipv4Address gateway = {}) {
    HostAdapter adapter;
    adapter.driverName = L"NPF_" + name;
    adapter.connection = L"  " + name + L" ";
    adapter.description = L" a test adapter ";
    adapter.mac = mac;
    adapter.address = address;
    adapter.mask = mask;
    adapter.gateway = gateway;
    adapter.mediaConnected = true;
    adapter.promiscuous = true;
    adapter.dhcp = false;
    adapter.linkSpeed = 1'000'000'000;
    adapter.largestPacket = 1514;
    return adapter;
}

class ScriptedWrenPack : public WrenPackLibrary {
public:
    Result<std::vector<HostAdapter>> ListAdapters() override {
        if (listFailure) {
            return NoValue(*listFailure);
        }
        return entries;
    }

    Result<AdapterHandle> OpenAdapter(const HostAdapter& adapter) override {
        if (failOpen.contains(adapter.driverName)) {
            return FailedCall(L"WrenPackOpenAdapter", 5);
        }
        opened.push_back(adapter.driverName);
        ++open;
        return this;
    }
    void CloseAdapter(AdapterHandle handle) override { open -= handle == this ? 1 : 1000; }
    ModuleDescription DescribeModule() const override {
        return {L"WrenPack", L"", L"1.2.3.4", L"test", L"", L"(c)", L""};
    }
    PacketDriverDescription DescribePacketDriver() const override { return driver; }

    std::vector<HostAdapter> entries;
    std::optional<Failure> listFailure;
    std::set<std::wstring> failOpen;
    PacketDriverDescription driver{true, L"", L"driver", L"4.5", L"detail", L""};

    int open = 0;
    std::vector<std::wstring> opened;
};

} // namespace vnxtest
