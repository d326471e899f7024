// The host adapter library as one object.
//
// WrenPackLibrary is WrenPack64UD.dll, bound by name, if it is installed, else this program's own adapter
// list: IP helper and Npcap on Windows; rtnetlink, ethtool and packet sockets on Linux.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "wrenlib/failure.h"
#include "wrenpack/host_adapter.h"

namespace vnxtest {

// Names a module in the report. Empty texts are left out.
struct ModuleDescription {
    std::wstring name;         // file name, or a description if it is not a file
    std::wstring path;         // of the file; empty: part of this program
    std::wstring version;      // "3.9.0.6222"
    std::wstring detail;       // in brackets after the version: date of the build, or the like
    std::wstring specialBuild; // follows the bracket
    std::wstring copyright;
    // If another module replaces the one that was looked for: sentences with the reason; else empty.
    std::wstring substitution;
    bool unusable = false; // the one that was looked for exists and cannot be used
};

// The packet driver through which adapters are opened.
struct PacketDriverDescription {
    bool usable = false;
    std::wstring problem;       // if it is not usable: one sentence with the reason
    std::wstring name;          // "wpcap.dll", "libpcap"
    std::wstring version;       // of the library
    std::wstring detail;        // further text of the library about itself
    std::wstring driverVersion; // of the driver in the system's kernel; empty: not known
};

// The first of the three steps in which the package's library is asked for its list, as a failure names it; a
// library with its own list has this step only. The failure's text is not empty if the step returned success,
// against the contract.
inline constexpr std::wstring_view kAdapterListSizeQuery = L"WrenPackGetAdaptersList(NULL,0)";

// An adapter opened by OpenAdapter.
using AdapterHandle = void*;

// User-interface thread.
class WrenPackLibrary {
public:
    virtual ~WrenPackLibrary() = default;

    // The adapters; of several with one MAC address the first is the one that it stands for. Having none is a
    // failure.
    virtual Result<std::vector<HostAdapter>> ListAdapters() = 0;

    // Opens an adapter of the list for capturing.
    virtual Result<AdapterHandle> OpenAdapter(const HostAdapter& adapter) = 0;
    virtual void CloseAdapter(AdapterHandle handle) = 0;
    // Closes all of them, side by side where closing waits for the kernel.
    virtual void CloseAdapters(const std::vector<AdapterHandle>& handles);

    virtual ModuleDescription DescribeModule() const = 0;
    virtual PacketDriverDescription DescribePacketDriver() const = 0;
};

// The host's adapter library. Never null; an unusable library tells so in its descriptions.
std::unique_ptr<WrenPackLibrary> MakeWrenPackLibrary();

} // namespace vnxtest
