#include "vnetx/bound_library.h"

#include <filesystem>

#include "wrenlib/format.h"
#include "wrenlib/shared_object.h"
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

class BoundLibrary final : public VnetxLibrary {
public:
    BoundLibrary(std::unique_ptr<SharedObject> module, const Operations& operations, const std::wstring& path)
        : m_module(std::move(module)), m_operations(operations), m_path(path) {}

    std::int32_t Open(const char* name, std::int32_t flags) override {
        const std::int32_t handle = m_operations.open(name, flags);
        return Told(handle, handle < 0);
    }
    void Close(std::int32_t handle) override { m_operations.close(handle); }
    std::int32_t Ioctl(std::int32_t handle, std::uint32_t request, void* record) override {
        const std::int32_t result = m_operations.ioctl(handle, request, record);
        return Told(result, result != 0);
    }
    std::int32_t Read(std::int32_t handle, void* buffer, std::uint32_t size) override {
        const std::int32_t length = m_operations.read(handle, buffer, size);
        return Told(length, length < 0);
    }
    std::int32_t Write(std::int32_t handle, const void* frame, std::uint32_t length) override {
        const std::int32_t written = m_operations.write(handle, frame, length);
        return Told(written, written != static_cast<std::int32_t>(length));
    }
    std::int32_t GetStats(std::int32_t handle, VnetxStatistics* record) override {
        const std::int32_t result = m_operations.getStats(handle, record);
        return Told(result, result != 0);
    }
    std::uint16_t CalcInetChecksum(const void* bytes, std::uint32_t length) override {
        return m_operations.calcInetChecksum(bytes, length);
    }
    void BuildVantIfaceMac(std::uint8_t* mac, const std::uint8_t* ip) override {
        m_operations.buildVantIfaceMac(mac, ip);
    }
    const char* GetDefaultIface() override { return m_operations.getDefaultIface(); }
    std::int32_t SetDebugOutputFunc(VnetxDebugOutput callback) override {
        return callback ? m_operations.setDebugOutput(callback) : 0; // null is no part of the contract
    }
    void VersionNumbers(std::int32_t* major, std::int32_t* minor, std::int32_t* release,
                        std::int32_t* build) override {
        m_operations.versionNumbers(major, minor, release, build);
    }
    const char* VersionString() override { return m_operations.versionString(); }
    const char* CopyrightString() override { return m_operations.copyrightString(); }
    std::wstring ModuleName() const override {
        const std::size_t slash = m_path.find_last_of(std::filesystem::path::preferred_separator);
        return m_path.substr(slash + 1); // the whole path if there is none
    }
    std::wstring ModulePath() const override { return m_path; }

private:
    // Returns `result`; on failure takes over the errno that the library has set.
    std::int32_t Told(std::int32_t result, bool failed) const {
        if (failed) {
            m_module->TakeErrno();
        }
        return result;
    }

    const std::unique_ptr<SharedObject> m_module;
    const Operations m_operations;
    const std::wstring m_path;
};

} // namespace

Result<std::unique_ptr<VnetxLibrary>> BindVnetxLibrary(std::wstring_view name) {
    const auto path = FindSharedObject(name);
    if (!path) {
        return Refused(Sprintf(L"The interface library \"%s\" was not found in %s.", std::wstring(name),
                               path.error().text));
    }
    auto module = SharedObject::Load(*path);
    if (!module) {
        Failure& failure = module.error();
        failure.text = EndSentence(
            Sprintf(L"The interface library \"%s\" could not be loaded: %s", *path, failure.Describe()));
        return PassOn(module);
    }
    Operations operations;
    std::wstring missing;
    const auto bind = [&](auto& operation, const char* symbol) {
        (*module)->Bind(operation, symbol, missing);
    };
    bind(operations.open, "vnetx32_open");
    bind(operations.close, "vnetx32_close");
    bind(operations.ioctl, "vnetx32_ioctl");
    bind(operations.read, "vnetx32_read");
    bind(operations.write, "vnetx32_write");
    bind(operations.getStats, "vnetx32_get_stats");
    bind(operations.calcInetChecksum, "vnetx32_calc_inet_checksum");
    bind(operations.buildVantIfaceMac, "vnetx32_build_vant_iface_mac");
    bind(operations.getDefaultIface, "vnetx32_get_default_iface");
    bind(operations.setDebugOutput, "vnetx32_set_debug_output_func");
    bind(operations.versionNumbers, "vnetx32_version_numbers");
    bind(operations.versionString, "vnetx32_version_string");
    bind(operations.copyrightString, "vnetx32_copyright_string");
    if (!missing.empty()) {
        return Refused(Sprintf(
            L"The interface library \"%s\" lacks these exports: %s. It is another library, or of another version than this program needs.",
            *path, missing));
    }
    return std::make_unique<BoundLibrary>(std::move(*module), operations, *path);
}

} // namespace vnxtest
