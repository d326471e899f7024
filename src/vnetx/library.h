// The seam: every operation of the virtual interface library that the program uses, as one object.
//
// Behind it stands either a shared library bound by name or one of the built-in libraries.
// Decorators (trace, fault injection, capture) implement the same class around another one. The
// operations keep the letter of vnetx.h: results, errno and the system's last error.
//
// Threads: any operation may be called on any thread, and several at once on the same handle; the
// program puts no lock around them. The debug output function may be called on any thread.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "vnetx/vnetx.h"
#include "vnetx/wire_facts.h"
#include "wrenlib/failure.h"

namespace vnxtest {

class VnetxLibrary {
public:
    virtual ~VnetxLibrary() = default;

    // Opens the virtual interface of the host adapter `name` (dotted IPv4 address, or MAC address)
    // and returns its handle, or a negative value with errno set.
    virtual std::int32_t Open(const char* name, std::int32_t flags) = 0;
    virtual void Close(std::int32_t handle) = 0;
    // `record` is a VnetxInterfaceRequest, or a VnetxArpRequest for SIOCGARP and SIOCGRARP.
    virtual std::int32_t Ioctl(std::int32_t handle, std::uint32_t request, void* record) = 0;
    virtual std::int32_t Read(std::int32_t handle, void* buffer, std::uint32_t size) = 0;
    virtual std::int32_t Write(std::int32_t handle, const void* frame, std::uint32_t length) = 0;
    virtual std::int32_t GetStats(std::int32_t handle, VnetxStatistics* record) = 0;
    virtual std::uint16_t CalcInetChecksum(const void* bytes, std::uint32_t length) = 0;
    virtual void BuildVantIfaceMac(std::uint8_t* mac, const std::uint8_t* ip) = 0;
    // The MAC address, in text, of the adapter the library uses by default; empty if it has none.
    virtual const char* GetDefaultIface() = 0;
    // Non-zero if accepted. The callback must live as long as the library. A built-in library takes null to
    // end it; one from a file is never given null.
    virtual std::int32_t SetDebugOutputFunc(VnetxDebugOutput callback) = 0;
    virtual void VersionNumbers(std::int32_t* major, std::int32_t* minor, std::int32_t* release,
                                std::int32_t* build) = 0;
    virtual const char* VersionString() = 0;
    virtual const char* CopyrightString() = 0;

    // How many frames for the open interface the driver has dropped because its buffer was full. Not an
    // operation of the contract: nullopt if the library does not tell.
    virtual std::optional<std::uint64_t> DroppedByDriver(std::int32_t) { return std::nullopt; }
    // What the open interface has noticed of its wire so far. Likewise.
    virtual std::optional<WireFacts> Noticed(std::int32_t) { return std::nullopt; }

    // What the report calls the library: the module's file name, or "built-in pcap" and the like.
    virtual std::wstring ModuleName() const = 0;
    // The file the library was bound from; empty for a built-in one.
    virtual std::wstring ModulePath() const = 0;
    // If "auto" took a built-in library because the package's is not installed: sentences that say so; else
    // empty.
    virtual std::wstring WhyNotThePackage() const { return {}; }
};

// The library that `--library` names: "auto", "pcap", "tun", "sim", "sim:loss=5,...", "Vnetx64UD.dll",
// or the path of a shared library. Not null; a failure's text is one or more whole sentences: what is
// wrong (every missing export by name) and what to do next. No library falls back to another except as
// "auto" is documented to.
Result<std::unique_ptr<VnetxLibrary>> OpenVnetxLibrary(std::wstring_view name);

// True if `name` is "sim" or "sim:...": the simulated LAN, which has an adapter of its own.
bool IsSimulatedLan(std::wstring_view name);

// True if `name` is the file name of a shared library: it has a folder, or the ending .so or .dll.
bool IsLibraryFile(std::wstring_view name);

} // namespace vnxtest
