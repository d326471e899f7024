// The host adapter library of Windows: WrenPack64UD.dll bound by name, or, where it is not installed,
// the IP helper's adapters opened through the packet driver's wpcap.dll.
#include "wrenpack/wrenpack.h"

#include <windows.h>

#include <optional>
#include <string_view>
#include <utility>

#include "wrenlib/errors.h"
#include "wrenlib/format.h"
#include "wrenlib/product.h"
#include "wrenlib/shared_object.h"
#include "wrenlib/text.h"
#include "wrenpack/adapter_list_windows.h"
#include "wrenpack/adapter_record_windows.h"

namespace vnxtest {

namespace {

// The functions of the packet driver's capture library that are used here.
class PacketDriver {
public:
    PacketDriver() {
        if (auto wpcap = LoadPacketDriverLibrary(L"wpcap.dll"); !wpcap) {
            m_problem = L"could not be loaded: " + wpcap.error().Describe();
        } else {
            m_wpcap = std::move(*wpcap);
            m_wpcap->Bind(m_openLive, "pcap_open_live", m_problem);
            m_wpcap->Bind(m_close, "pcap_close", m_problem);
            m_problem = (m_problem.empty() ? L"" : L"lacks these exports: ") + m_problem;
        }
        std::wstring unneeded;
        if (m_wpcap != nullptr) {
            m_wpcap->Bind(m_version, "pcap_lib_version", unneeded);
        }
        if (auto packet = LoadPacketDriverLibrary(L"Packet.dll")) {
            m_packet = std::move(*packet);
            m_packet->Bind(m_driverVersion, "PacketGetDriverVersion", unneeded);
        }
    }

    void* Open(const std::wstring& adapterName, bool promiscuous) const {
        if (!m_problem.empty()) {
            SetLastError(m_wpcap == nullptr ? ERROR_MOD_NOT_FOUND : ERROR_PROC_NOT_FOUND);
            return nullptr;
        }
        constexpr int kSnapshotLength = 128;
        constexpr int kReadTimeout = 100; // milliseconds
        char message[256] = {};
        const std::string device = ToNarrow(L"\\Device\\" + adapterName);
        SetLastError(0);
        void* capture =
            m_openLive(device.c_str(), kSnapshotLength, promiscuous ? 1 : 0, kReadTimeout, message);
        if (capture == nullptr && LastError() == 0) {
            SetLastError(ERROR_OPEN_FAILED);
        }
        return capture;
    }

    void Close(void* capture) const { m_close(capture); }

    // Whether the adapter supports promiscuous mode, found out by trying; nullopt if it cannot be opened.
    std::optional<bool> IsPromiscuousCapable(const std::wstring& adapterName) const {
        for (const bool promiscuous : {true, false}) {
            if (void* const capture = Open(adapterName, promiscuous)) {
                Close(capture);
                return promiscuous;
            }
        }
        return std::nullopt;
    }

    PacketDriverDescription Describe() const {
        PacketDriverDescription driver;
        driver.name = L"wpcap.dll";
        driver.usable = m_problem.empty();
        if (!driver.usable) {
            driver.problem = EndSentence(L"The packet driver's library wpcap.dll " + m_problem);
            return driver;
        }
        // "Npcap version 1.75, based on libpcap version 1.10.4"
        const std::wstring text = m_version != nullptr ? ToWide(m_version()) : L"";
        constexpr std::wstring_view kWord = L" version ";
        const std::size_t at = text.find(kWord);
        const std::size_t begin = at == std::wstring::npos ? 0 : at + kWord.size();
        driver.version = text.substr(begin, text.find_first_of(L", ", begin) - begin);
        driver.detail = text;
        driver.driverVersion = m_driverVersion != nullptr ? ToWide(m_driverVersion()) : L"";
        return driver;
    }

private:
    using OpenLiveFunction = void* (*)(const char*, int, int, int, char*);
    using CloseFunction = void (*)(void*);
    using TextFunction = const char* (*)();

    std::unique_ptr<SharedObject> m_wpcap;
    std::unique_ptr<SharedObject> m_packet;
    std::wstring m_problem; // why the capture library cannot be used: "could not be loaded: ..."
    OpenLiveFunction m_openLive = nullptr;
    CloseFunction m_close = nullptr;
    TextFunction m_version = nullptr;
    TextFunction m_driverVersion = nullptr;
};

constexpr wchar_t kFileName[] = L"WrenPack64UD.dll";

// WrenPack64UD.dll.
class BoundWrenPack final : public WrenPackLibrary {
public:
    // Null if the library is missing or cannot be used, with the reason in `substitution`.
    static std::unique_ptr<WrenPackLibrary> Bind(ModuleDescription& substitution) {
        const auto path = FindSharedObject(kFileName);
        if (!path) {
            substitution.substitution =
                Sprintf(L"%s was not found in %s.", std::wstring(kFileName), path.error().text);
            return nullptr;
        }
        substitution.unusable = true;
        auto module = SharedObject::Load(*path);
        if (!module) {
            substitution.substitution =
                EndSentence(Sprintf(L"%s could not be loaded: %s", *path, module.error().Describe()));
            return nullptr;
        }
        std::wstring missing;
        auto library = std::make_unique<BoundWrenPack>(std::move(*module), *path, missing);
        if (!missing.empty()) {
            substitution.substitution = Sprintf(L"%s lacks these exports: %s.", *path, missing);
            return nullptr;
        }
        return library;
    }

    BoundWrenPack(std::unique_ptr<SharedObject> module, std::wstring path, std::wstring& missing)
        : m_module(std::move(module)), m_path(std::move(path)) {
        m_module->Bind(m_getAdaptersList, "WrenPackGetAdaptersList", missing);
        m_module->Bind(m_openAdapter, "WrenPackOpenAdapter", missing);
        m_module->Bind(m_closeAdapter, "WrenPackCloseAdapter", missing);
    }

    Result<std::vector<HostAdapter>> ListAdapters() override {
        return FetchAdapters([this](ADAPTER_INFO_LIST_ENTRY* list, std::uint32_t* size) {
            return m_getAdaptersList(list, size) != 0;
        });
    }

    Result<AdapterHandle> OpenAdapter(const HostAdapter& adapter) override {
        if (AdapterHandle const handle = m_openAdapter(adapter.driverName.c_str())) {
            return handle;
        }
        return FailedCall(L"WrenPackOpenAdapter");
    }

    void CloseAdapter(AdapterHandle handle) override { m_closeAdapter(handle); }

    ModuleDescription DescribeModule() const override {
        ModuleDescription module;
        module.name = kFileName;
        module.path = m_path;
        // Optional exports. Their texts are wide in the library's Unicode build, which is the one bound
        // here.
        std::wstring unneeded;
        TextFunction text = nullptr;
        if (m_module->Bind(text, "WrenPackGetVersionString", unneeded)) {
            module.version = Copy(text());
        }
        int numbers[4] = {};
        NumbersFunction version = nullptr;
        if (m_module->Bind(version, "WrenPackGetVersionNumbers", unneeded) && module.version.empty()) {
            version(&numbers[0], &numbers[1], &numbers[2], &numbers[3]);
            module.version = Sprintf(L"%d.%d.%d.%d", numbers[0], numbers[1], numbers[2], numbers[3]);
        }
        if (m_module->Bind(text, "WrenPackGetCopyrightString", unneeded)) {
            module.copyright = Copy(text());
        }
        return module;
    }

    PacketDriverDescription DescribePacketDriver() const override { return m_driver.Describe(); }

private:
    using ListFunction = std::uint8_t (*)(ADAPTER_INFO_LIST_ENTRY*, std::uint32_t*);
    using OpenAdapterFunction = void* (*)(const wchar_t*);
    using CloseAdapterFunction = void (*)(void*);
    using TextFunction = const wchar_t* (*)();
    using NumbersFunction = void (*)(int*, int*, int*, int*);

    static std::wstring Copy(const wchar_t* text) { return text != nullptr ? text : L""; }

    std::unique_ptr<SharedObject> m_module;
    std::wstring m_path;
    PacketDriver m_driver;
    ListFunction m_getAdaptersList = nullptr;
    OpenAdapterFunction m_openAdapter = nullptr;
    CloseAdapterFunction m_closeAdapter = nullptr;
};

// This program's own adapter list.
class BuiltInWrenPack final : public WrenPackLibrary {
public:
    // Replaces the package's library for the reason in `substitution`.
    explicit BuiltInWrenPack(ModuleDescription substitution) : m_description(std::move(substitution)) {
        m_description.name = L"WrenPack";
        m_description.version = kWideVersion;
        m_description.detail = L"built into this program; adapters from the IP helper";
        m_description.substitution += L" The list of adapters comes from Windows' own IP helper.";
    }

    Result<std::vector<HostAdapter>> ListAdapters() override {
        auto adapters = ReadAdapters();
        if (!adapters || adapters->empty()) {
            return FailedCall(kAdapterListSizeQuery, adapters ? ERROR_NO_DATA : adapters.error().lastError);
        }
        // An access point sends a wireless adapter its own frames only, whatever the driver reports.
        for (HostAdapter& adapter : *adapters) {
            adapter.promiscuous = adapter.medium == kNdisMediumNative802_11
                                      ? std::optional(false)
                                      : m_driver.IsPromiscuousCapable(adapter.driverName);
        }
        return adapters;
    }

    Result<AdapterHandle> OpenAdapter(const HostAdapter& adapter) override {
        if (AdapterHandle const handle = m_driver.Open(adapter.driverName, false)) {
            return handle;
        }
        return FailedCall(L"pcap_open_live");
    }

    void CloseAdapter(AdapterHandle handle) override { m_driver.Close(handle); }

    ModuleDescription DescribeModule() const override { return m_description; }

    PacketDriverDescription DescribePacketDriver() const override { return m_driver.Describe(); }

private:
    ModuleDescription m_description;
    PacketDriver m_driver;
};

} // namespace

std::unique_ptr<WrenPackLibrary> MakeWrenPackLibrary() {
    ModuleDescription substitution;
    std::unique_ptr<WrenPackLibrary> bound = BoundWrenPack::Bind(substitution);
    return bound != nullptr ? std::move(bound) : std::make_unique<BuiltInWrenPack>(std::move(substitution));
}

} // namespace vnxtest
