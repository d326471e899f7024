// A host adapter library under a test's control: entries of the test's choice, and every way in which
// a library can fail.
#pragma once

#include <algorithm>
#include <set>
#include <string>
#include <vector>

#include "wrenlib/address.h"
#include "wrenlib/errors.h"
#include "wrenpack/wrenpack.h"

namespace vnxtest {

inline ADAPTER_INFO_LIST_ENTRY MakeAdapter(const std::wstring& name, MacAddress mac = {},
                                           Ipv4Address address = {}, Ipv4Address mask = {},
                                           Ipv4Address gateway = {}) {
    ADAPTER_INFO_LIST_ENTRY entry;
    entry.leadingWord = 1;
    SetField(entry.AdapterName, L"NPF_" + name);
    SetField(entry.Connection, L"  " + name + L" ");
    SetField(entry.Description, L" a test adapter ");
    std::ranges::copy(mac.Bytes(), entry.PhysAddr);
    entry.IPAddr = address.Memory();
    entry.IPAddrMask = mask.Memory();
    entry.GatewayIPAddr = gateway.Memory();
    entry.MediaConnected = entry.PromiscuousMode = 1;
    entry.LinkSpeed = 10'000'000;
    entry.MaxPacketLen = 1514;
    return entry;
}

class ScriptedWrenPack : public WrenPackLibrary {
public:
    bool GetAdaptersList(ADAPTER_INFO_LIST_ENTRY* list, std::uint32_t* size) override {
        ++calls;
        if (list == nullptr) {
            *size =
                sizeAnswer != 0 ? sizeAnswer : static_cast<std::uint32_t>(entries.size() * sizeof entries[0]);
            SetLastError(sizeCode);
            return sizeSucceeds;
        }
        if (SetLastError(fillCode); fillCode != 0) {
            return false;
        }
        std::ranges::copy(entries, list);
        for (std::size_t i = 0; i < entries.size(); ++i) {
            list[i].next = i + 1 < entries.size() ? &list[i + 1] : nullptr;
            if (links != nullptr) {
                auto* const target = reinterpret_cast<char*>(list) + links[i];
                list[i].next = links[i] < 0 ? nullptr : reinterpret_cast<ADAPTER_INFO_LIST_ENTRY*>(target);
            }
        }
        return true;
    }

    AdapterHandle OpenAdapter(const char16_t* adapterName) override {
        const std::wstring name = FieldText(adapterName, 256);
        if (failOpen.contains(name)) {
            SetLastError(5);
            return nullptr;
        }
        opened.push_back(name);
        ++open;
        return this;
    }
    void CloseAdapter(AdapterHandle handle) override { open -= handle == this ? 1 : 1000; }
    AdapterFacts FactsOf(const ADAPTER_INFO_LIST_ENTRY&) const override { return facts; }
    ModuleDescription DescribeModule() const override {
        return {L"WrenPack", L"", L"1.2.3.4", L"test", L"", L"(c)", L""};
    }
    PacketDriverDescription DescribePacketDriver() const override { return driver; }

    std::vector<ADAPTER_INFO_LIST_ENTRY> entries;
    std::uint32_t sizeAnswer = 0; // 0: the true size
    std::uint32_t sizeCode = 0, fillCode = 0;
    bool sizeSucceeds = false;
    const std::ptrdiff_t* links = nullptr; // of the entries, in bytes from the first; -1: none
    std::set<std::wstring> failOpen;
    AdapterFacts facts; // of every entry
    PacketDriverDescription driver{true, L"", L"driver", L"4.5", L"detail", L""};

    int calls = 0, open = 0;
    std::vector<std::wstring> opened;
};

} // namespace vnxtest
