// What all built-in libraries share: handles, version, pure functions, and the queries about the host's own
// adapters that need no open handle. The operations may run on any thread, as library.h says.
#pragma once

#include <atomic>
#include <memory>
#include <string>
#include <string_view>

#include "vnetx/driver/handle_table.h"
#include "vnetx/driver/virtual_interface.h"
#include "vnetx/library.h"
#include "wrenlib/product.h"

namespace vnxtest {

// The version of the built-in libraries is the program's own (wrenlib/product.h).
inline constexpr const char* kBuiltinCopyright = "Copyright (c) VNXTest developers";

class BuiltinLibrary : public VnetxLibrary {
public:
    // `moduleName` is what the report calls it: "built-in pcap".
    explicit BuiltinLibrary(std::wstring_view moduleName) : m_moduleName(moduleName) {}

    std::int32_t Open(const char* name, std::int32_t flags) override;
    void Close(std::int32_t handle) override;
    std::int32_t Ioctl(std::int32_t handle, std::uint32_t request, void* record) override;
    std::int32_t Read(std::int32_t handle, void* buffer, std::uint32_t size) override;
    std::int32_t Write(std::int32_t handle, const void* frame, std::uint32_t length) override;
    std::int32_t GetStats(std::int32_t handle, VnetxStatistics* record) override;
    std::uint16_t CalcInetChecksum(const void* bytes, std::uint32_t length) override;
    void BuildVantIfaceMac(std::uint8_t* mac, const std::uint8_t* ip) override;
    const char* GetDefaultIface() override;
    std::int32_t SetDebugOutputFunc(VnetxDebugOutput callback) override;
    void VersionNumbers(std::int32_t* major, std::int32_t* minor, std::int32_t* release,
                        std::int32_t* build) override;
    const char* VersionString() override { return kVersion; }
    const char* CopyrightString() override { return kBuiltinCopyright; }
    std::optional<std::uint64_t> DroppedByDriver(std::int32_t handle) override;
    std::optional<WireFacts> Noticed(std::int32_t handle) override;
    std::wstring ModuleName() const override { return m_moduleName; }
    std::wstring ModulePath() const override { return {}; }

protected:
    // The gate of the next interface's reader; null with errno set.
    virtual std::unique_ptr<ReaderGate> MakeGate(bool socketNotify) { return ReaderGate::Make(socketNotify); }
    // The driver of an interface of the host adapter `name`; null with errno set. `state` outlives it.
    virtual DriverParts MakeDriver(std::string_view name, InterfaceState& state) = 0;
    // The host's own adapters, for questions without an open handle.
    virtual Neighbourhood& Adapters();

private:
    std::int32_t QueryAdapters(std::uint32_t request, void* record);

    const std::wstring m_moduleName;
    HandleTable<VirtualInterface> m_handles;
    std::atomic<VnetxDebugOutput> m_debugOutput{nullptr};
};

} // namespace vnxtest
