#include "vnetx/bound_library.h"

#include <cstring>
#include <filesystem>

#include "vnetx/shared_object.h"
#include "wrenlib/format.h"
#include "wrenlib/text.h"

namespace vnxtest {

namespace {

// The operations of the contract, each under the type of its export.
struct Operations {
    VnetxOpenFunction open = nullptr;
    VnetxCloseFunction close = nullptr;
    VnetxIoctlFunction ioctl = nullptr;
    VnetxReadFunction read = nullptr;
    VnetxWriteFunction write = nullptr;
    VnetxGetStatsFunction getStats = nullptr;
    VnetxCalcInetChecksumFunction calcInetChecksum = nullptr;
    VnetxBuildVantIfaceMacFunction buildVantIfaceMac = nullptr;
    VnetxGetDefaultIfaceFunction getDefaultIface = nullptr;
    VnetxSetDebugOutputFunction setDebugOutput = nullptr;
    VnetxVersionNumbersFunction versionNumbers = nullptr;
    VnetxTextFunction versionString = nullptr;
    VnetxTextFunction copyrightString = nullptr;
};

// Binds each operation by its name and gathers the names that are missing.
class Binder {
public:
    explicit Binder(const SharedObject& module) : m_module(module) {}

    template <typename Function>
    void Bind(Function& function, const char* name) {
        static_assert(sizeof(Function) == sizeof(void*));
        void* const address = m_module.Find(name);
        // Data and function pointers are not converted into each other by the language.
        std::memcpy(&function, &address, sizeof function);
        if (!address) {
            m_missing += (m_missing.empty() ? L"" : L", ") + ToWide(name);
        }
    }

    const std::wstring& Missing() const { return m_missing; }

private:
    const SharedObject& m_module;
    std::wstring m_missing;
};

class BoundLibrary final : public VnetxLibrary {
public:
    BoundLibrary(std::unique_ptr<SharedObject> module, const Operations& operations, const std::wstring& path)
        : m_module(std::move(module)), m_operations(operations), m_path(path) {}
    ~BoundLibrary() override { m_operations.setDebugOutput(nullptr); }

    std::int32_t Open(const char* name, std::int32_t flags) override {
        return m_operations.open(name, flags);
    }
    void Close(std::int32_t handle) override { m_operations.close(handle); }
    std::int32_t Ioctl(std::int32_t handle, std::uint32_t request, void* record) override {
        return m_operations.ioctl(handle, request, record);
    }
    std::int32_t Read(std::int32_t handle, void* buffer, std::uint32_t size) override {
        return m_operations.read(handle, buffer, size);
    }
    std::int32_t Write(std::int32_t handle, const void* frame, std::uint32_t length) override {
        return m_operations.write(handle, frame, length);
    }
    std::int32_t GetStats(std::int32_t handle, VnetxStatistics* record) override {
        return m_operations.getStats(handle, record);
    }
    std::uint16_t CalcInetChecksum(const void* bytes, std::uint32_t length) override {
        return m_operations.calcInetChecksum(bytes, length);
    }
    void BuildVantIfaceMac(std::uint8_t* mac, const std::uint8_t* ip) override {
        m_operations.buildVantIfaceMac(mac, ip);
    }
    const char* GetDefaultIface() override { return m_operations.getDefaultIface(); }
    std::int32_t SetDebugOutputFunc(VnetxDebugOutput callback) override {
        return m_operations.setDebugOutput(callback);
    }
    void VersionNumbers(std::int32_t* major, std::int32_t* minor, std::int32_t* release,
                        std::int32_t* build) override {
        m_operations.versionNumbers(major, minor, release, build);
    }
    const char* VersionString() override { return m_operations.versionString(); }
    const char* CopyrightString() override { return m_operations.copyrightString(); }
    std::wstring ModuleName() const override {
        const std::size_t slash = m_path.find_last_of(std::filesystem::path::preferred_separator);
        return m_path.substr(slash + 1); // all of it when there is none
    }
    std::wstring ModulePath() const override { return m_path; }

private:
    const std::unique_ptr<SharedObject> m_module;
    const Operations m_operations;
    const std::wstring m_path;
};

} // namespace

std::unique_ptr<VnetxLibrary> BindVnetxLibrary(std::wstring_view name, std::wstring& error) {
    if (const auto reason = WhyNoForeignCode()) {
        error = Sprintf(L"The interface library \"%s\" is not loaded: %s.", std::wstring(name), *reason);
        return nullptr;
    }
    std::wstring places;
    const auto path = FindSharedObject(name, places);
    if (!path) {
        error = Sprintf(L"The interface library \"%s\" was not found in %s.", std::wstring(name), places);
        return nullptr;
    }
    std::wstring reason;
    std::unique_ptr<SharedObject> module = SharedObject::Load(*path, reason);
    if (!module) {
        error = Sprintf(L"The interface library \"%s\" could not be loaded: %s.", *path, reason);
        return nullptr;
    }
    Operations operations;
    Binder binder(*module);
    binder.Bind(operations.open, "vnetx32_open");
    binder.Bind(operations.close, "vnetx32_close");
    binder.Bind(operations.ioctl, "vnetx32_ioctl");
    binder.Bind(operations.read, "vnetx32_read");
    binder.Bind(operations.write, "vnetx32_write");
    binder.Bind(operations.getStats, "vnetx32_get_stats");
    binder.Bind(operations.calcInetChecksum, "vnetx32_calc_inet_checksum");
    binder.Bind(operations.buildVantIfaceMac, "vnetx32_build_vant_iface_mac");
    binder.Bind(operations.getDefaultIface, "vnetx32_get_default_iface");
    binder.Bind(operations.setDebugOutput, "vnetx32_set_debug_output_func");
    binder.Bind(operations.versionNumbers, "vnetx32_version_numbers");
    binder.Bind(operations.versionString, "vnetx32_version_string");
    binder.Bind(operations.copyrightString, "vnetx32_copyright_string");
    if (!binder.Missing().empty()) {
        error = Sprintf(L"The interface library \"%s\" lacks these exports: %s. It is another library, or of "
                        L"another version than this program needs.",
                        *path, binder.Missing());
        return nullptr;
    }
    return std::make_unique<BoundLibrary>(std::move(module), operations, *path);
}

} // namespace vnxtest
