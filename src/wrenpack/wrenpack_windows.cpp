// The host adapter library of Windows: WrenPack64UD.dll bound by name, or, where it is not installed,
// the IP helper's adapters opened through the packet driver's wpcap.dll.
#include "wrenpack/wrenpack.h"

#include <windows.h>

#include <string_view>
#include <type_traits>

#include "wrenlib/errors.h"
#include "wrenlib/format.h"
#include "wrenlib/text.h"
#include "wrenpack/adapter_list_windows.h"

namespace vnxtest {

const std::uint32_t kErrorListTooSmall = ERROR_INSUFFICIENT_BUFFER;
const std::uint32_t kErrorNoAdapter = ERROR_NO_DATA;

namespace {

struct ModuleFreer {
    void operator()(HMODULE module) const { FreeLibrary(module); }
};
using Module = std::unique_ptr<std::remove_pointer_t<HMODULE>, ModuleFreer>;

template <typename Function>
Function Find(const Module& module, const char* name) {
    return module == nullptr
               ? nullptr
               : reinterpret_cast<Function>(reinterpret_cast<void*>(GetProcAddress(module.get(), name)));
}

// Npcap keeps its libraries in a folder of its own below the system folder.
Module LoadPacketLibrary(const wchar_t* name) {
    wchar_t folder[MAX_PATH] = {};
    const UINT length = GetSystemDirectoryW(folder, MAX_PATH);
    if (length != 0 && length < MAX_PATH) {
        const std::wstring path = std::wstring(folder) + L"\\Npcap\\" + name;
        if (HMODULE found = LoadLibraryExW(path.c_str(), nullptr, LOAD_WITH_ALTERED_SEARCH_PATH)) {
            return Module(found);
        }
    }
    return Module(LoadLibraryW(name));
}

// The packet driver's capture library, as far as it is needed here.
class PacketDriver {
public:
    PacketDriver()
        : m_wpcap(LoadPacketLibrary(L"wpcap.dll")), m_loadCode(m_wpcap == nullptr ? GetLastError() : 0) {
        m_openLive = Find<OpenLiveFunction>(m_wpcap, "pcap_open_live");
        m_close = Find<CloseFunction>(m_wpcap, "pcap_close");
        m_version = Find<TextFunction>(m_wpcap, "pcap_lib_version");
        m_packet = LoadPacketLibrary(L"Packet.dll");
        m_driverVersion = Find<TextFunction>(m_packet, "PacketGetDriverVersion");
    }

    void* Open(const std::wstring& adapterName) const {
        if (m_openLive == nullptr || m_close == nullptr) {
            SetLastError(m_loadCode != 0 ? m_loadCode : ERROR_PROC_NOT_FOUND);
            return nullptr;
        }
        constexpr int kSnapshotLength = 128;
        constexpr int kReadTimeout = 100; // milliseconds
        char message[256] = {};
        const std::string device = ToNarrow(L"\\Device\\" + adapterName);
        SetLastError(0);
        void* capture = m_openLive(device.c_str(), kSnapshotLength, 0, kReadTimeout, message);
        if (capture == nullptr && LastError() == 0) {
            SetLastError(ERROR_OPEN_FAILED);
        }
        return capture;
    }

    void Close(void* capture) const { m_close(capture); }

    PacketDriverDescription Describe() const {
        PacketDriverDescription driver;
        driver.name = L"wpcap.dll";
        driver.usable = m_openLive != nullptr && m_close != nullptr;
        if (!driver.usable) {
            driver.problem =
                m_wpcap == nullptr
                    ? Sprintf(L"The packet driver's library wpcap.dll could not be loaded; rc=%d: %s.",
                              m_loadCode, FormatLastError(m_loadCode))
                    : L"The packet driver's library wpcap.dll lacks pcap_open_live or pcap_close.";
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

    Module m_wpcap;
    DWORD m_loadCode;
    Module m_packet;
    OpenLiveFunction m_openLive = nullptr;
    CloseFunction m_close = nullptr;
    TextFunction m_version = nullptr;
    TextFunction m_driverVersion = nullptr;
};

// WrenPack64UD.dll.
class BoundWrenPack final : public WrenPackLibrary {
public:
    // Null when the library is not there or lacks a function that is needed.
    static std::unique_ptr<WrenPackLibrary> Bind() {
        auto library = std::make_unique<BoundWrenPack>();
        return library->m_getAdaptersList != nullptr && library->m_openAdapter != nullptr &&
                       library->m_closeAdapter != nullptr
                   ? std::move(library)
                   : nullptr;
    }

    BoundWrenPack() : m_module(LoadLibraryW(kFileName)) {
        m_getAdaptersList = Find<GetAdaptersListFunction>(m_module, "WrenPackGetAdaptersList");
        m_openAdapter = Find<OpenAdapterFunction>(m_module, "WrenPackOpenAdapter");
        m_closeAdapter = Find<CloseAdapterFunction>(m_module, "WrenPackCloseAdapter");
    }

    bool GetAdaptersList(ADAPTER_INFO_LIST_ENTRY* list, std::uint32_t* size) override {
        return m_getAdaptersList(list, size) != 0;
    }

    AdapterHandle OpenAdapter(const char16_t* adapterName) override {
        static_assert(sizeof(wchar_t) == sizeof(char16_t));
        return m_openAdapter(reinterpret_cast<const wchar_t*>(adapterName));
    }

    void CloseAdapter(AdapterHandle handle) override { m_closeAdapter(handle); }

    ModuleDescription DescribeModule() const override {
        ModuleDescription module;
        module.name = kFileName;
        wchar_t path[MAX_PATH] = {};
        if (GetModuleFileNameW(m_module.get(), path, MAX_PATH - 1) != 0) {
            module.path = path;
        }
        // The texts are wide in the library's Unicode build, which is the one bound here.
        if (const auto text = Find<TextFunction>(m_module, "WrenPackGetVersionString")) {
            module.version = Copy(text());
        }
        int numbers[4] = {};
        if (const auto version = Find<NumbersFunction>(m_module, "WrenPackGetVersionNumbers");
            version != nullptr && module.version.empty()) {
            version(&numbers[0], &numbers[1], &numbers[2], &numbers[3]);
            module.version = Sprintf(L"%d.%d.%d.%d", numbers[0], numbers[1], numbers[2], numbers[3]);
        }
        if (const auto text = Find<TextFunction>(m_module, "WrenPackGetCopyrightString")) {
            module.copyright = Copy(text());
        }
        return module;
    }

    PacketDriverDescription DescribePacketDriver() const override { return m_driver.Describe(); }

private:
    static constexpr wchar_t kFileName[] = L"WrenPack64UD.dll";

    using GetAdaptersListFunction = std::uint8_t (*)(ADAPTER_INFO_LIST_ENTRY*, std::uint32_t*);
    using OpenAdapterFunction = void* (*)(const wchar_t*);
    using CloseAdapterFunction = void (*)(void*);
    using TextFunction = const wchar_t* (*)();
    using NumbersFunction = void (*)(int*, int*, int*, int*);

    static std::wstring Copy(const wchar_t* text) { return text != nullptr ? text : L""; }

    Module m_module;
    PacketDriver m_driver;
    GetAdaptersListFunction m_getAdaptersList = nullptr;
    OpenAdapterFunction m_openAdapter = nullptr;
    CloseAdapterFunction m_closeAdapter = nullptr;
};

// This program's own adapter list.
class BuiltInWrenPack final : public WrenPackLibrary {
public:
    bool GetAdaptersList(ADAPTER_INFO_LIST_ENTRY* list, std::uint32_t* size) override {
        if (m_entries.empty()) {
            if (const std::uint32_t code = ListAdapters(m_entries)) {
                *size = 0;
                SetLastError(code);
                return false;
            }
        }
        return DeliverAdapters(m_entries, list, size);
    }

    AdapterHandle OpenAdapter(const char16_t* adapterName) override {
        return m_driver.Open(FieldText(adapterName, std::char_traits<char16_t>::length(adapterName)));
    }

    void CloseAdapter(AdapterHandle handle) override { m_driver.Close(handle); }

    ModuleDescription DescribeModule() const override {
        ModuleDescription module;
        module.name = L"WrenPack";
        module.version = L"" VNXTEST_VERSION;
        module.detail =
            L"built into this program, since WrenPack64UD.dll was not found; adapters from the IP helper";
        return module;
    }

    PacketDriverDescription DescribePacketDriver() const override { return m_driver.Describe(); }

private:
    PacketDriver m_driver;
    std::vector<ADAPTER_INFO_LIST_ENTRY> m_entries;
};

} // namespace

std::unique_ptr<WrenPackLibrary> MakeWrenPackLibrary() {
    std::unique_ptr<WrenPackLibrary> bound = BoundWrenPack::Bind();
    return bound != nullptr ? std::move(bound) : std::make_unique<BuiltInWrenPack>();
}

} // namespace vnxtest
