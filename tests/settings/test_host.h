// A host with adapters of the test's choice, and the lines that the program writes meanwhile.
//
// The interface library is the simulated LAN; its default adapter is the first of the list.
#pragma once

#include <string>
#include <vector>

#include "core/output_channel.h"
#include "support/quiet_host.h"
#include "vnetx/library.h"
#include "wrenlib/text.h"

namespace vnxtest {

struct TestAdapter {
    Ipv4Address address;
    Ipv4Address mask;
    std::wstring name = L"eth0";
    MacAddress mac{}; // zeroes: the library's default
};

class TestHost final : public ViewPort {
public:
    explicit TestHost(std::vector<TestAdapter> adapters)
        : m_adapters(Entries(adapters, *m_library)), network(HostSources{m_tables, m_adapters}, *m_library) {
        m_output.Attach();
        RegisterDebugOutput(*m_library);
        network.RedetectAdapters();
    }
    ~TestHost() override { UnregisterDebugOutput(); }

    // What was written since the last call, without the time stamps.
    std::string TakeLines() {
        std::string lines;
        std::string_view text = m_pending = m_output.TakePending();
        while (!text.empty()) {
            const std::size_t end = text.find('\n') + 1;
            lines += text.substr(0, end).substr(13);
            text.remove_prefix(end);
        }
        return lines;
    }
    // How many of them were assertion lines; nothing else may have been written.
    int TakeAssertions() {
        const std::string lines = TakeLines();
        int count = 0;
        for (std::size_t at = 0; at < lines.size(); at = lines.find('\n', at) + 1) {
            count += lines.find("): ** Assertion Failed **\n", at) < lines.find('\n', at) ? 1 : 1000;
        }
        return count;
    }
    VnetxLibrary& Library() { return *m_library; }
    void PostViewMessage(ViewMessage) override {}

private:
    class Adapters final : public QuietAdapters {
    public:
        explicit Adapters(std::vector<ADAPTER_INFO_LIST_ENTRY> entries) : m_entries(std::move(entries)) {}
        bool GetAdaptersList(ADAPTER_INFO_LIST_ENTRY* list, std::uint32_t* size) override {
            const auto needed =
                static_cast<std::uint32_t>(m_entries.size() * sizeof(ADAPTER_INFO_LIST_ENTRY));
            const bool fits = list != nullptr && *size >= needed;
            *size = needed;
            for (std::size_t i = 0; fits && i < m_entries.size(); ++i) {
                list[i] = m_entries[i];
                list[i].next = i + 1 < m_entries.size() ? &list[i + 1] : nullptr;
            }
            return fits;
        }

    private:
        std::vector<ADAPTER_INFO_LIST_ENTRY> m_entries;
    };

    static std::vector<ADAPTER_INFO_LIST_ENTRY> Entries(const std::vector<TestAdapter>& adapters,
                                                        VnetxLibrary& library) {
        std::vector<ADAPTER_INFO_LIST_ENTRY> entries;
        for (const TestAdapter& adapter : adapters) {
            ADAPTER_INFO_LIST_ENTRY entry;
            entry.leadingWord = 1;
            entry.IPAddr = adapter.address.Memory();
            entry.IPAddrMask = adapter.mask.Memory();
            entry.MediaConnected = 1;
            SetField(entry.AdapterName, L"NPF_" + adapter.name);
            SetField(entry.Connection, adapter.name);
            const MacAddress standard = ParseMACAddress(FromUtf8(library.GetDefaultIface())).value();
            const MacAddress mac = adapter.mac.IsZero() ? standard : adapter.mac;
            std::copy(mac.Bytes().begin(), mac.Bytes().end(), entry.PhysAddr);
            entries.push_back(entry);
        }
        return entries;
    }

    std::wstring m_error;
    std::unique_ptr<VnetxLibrary> m_library = OpenVnetxLibrary(L"sim", m_error);
    QuietTables m_tables;
    Adapters m_adapters;
    OutputChannel m_output{*this};
    std::string m_pending;

public:
    HostNetwork network;
};

} // namespace vnxtest
