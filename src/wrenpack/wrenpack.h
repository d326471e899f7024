// The host adapter library as one object.
//
// Behind WrenPackLibrary stands WrenPack64UD.dll bound by name where it is installed, else this program's own
// adapter list: IP helper and Npcap on Windows; rtnetlink, ethtool and packet sockets on Linux.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "wrenpack/host_adapter.h"

namespace vnxtest {

// Names a module in the report. Empty texts are left out.
struct ModuleDescription {
    std::wstring name;         // file name, or what it is when it is no file of its own
    std::wstring path;         // of the file; empty when it is part of this program
    std::wstring version;      // "3.9.0.6222"
    std::wstring detail;       // stands in brackets behind the version: date of the build, or the like
    std::wstring specialBuild; // follows the bracket
    std::wstring copyright;
    // Where another module does the work of the one that was looked for: sentences that say so and why.
    std::wstring substitution;
    bool unusable = false; // that other one is there, and cannot be used
};

// The packet driver through which adapters are opened.
struct PacketDriverDescription {
    bool usable = false;
    std::wstring problem;       // when it is not usable: one sentence that says why
    std::wstring name;          // "wpcap.dll", "libpcap"
    std::wstring version;       // of the library
    std::wstring detail;        // what else the library says of itself
    std::wstring driverVersion; // of the driver in the system's kernel; empty when not known
};

// How asking for the list of adapters ended. A list is asked for in three steps; a library that knows its
// adapters itself takes the first alone.
enum class AdapterListStage {
    Done,
    SizeQuery,  // the question for the size was not answered as it must be
    Allocation, // no memory for `count` entries
    Fill,       // the list itself was refused
};
struct AdapterListOutcome {
    AdapterListStage stage = AdapterListStage::Done;
    std::uint32_t code = 0; // of the system, when it failed
    bool sizeSucceeded =
        false; // the question for the size was answered with success, which is none of its answers
    std::uint32_t count = 0; // entries that were asked for
};

// Names an adapter that OpenAdapter opened; null is none.
using AdapterHandle = void*;

// User-interface thread. OpenAdapter sets the system's last error when it fails.
class WrenPackLibrary {
public:
    virtual ~WrenPackLibrary() = default;

    // Puts the adapters into `adapters`, in the order in which they count: of several with one MAC address
    // the first is meant by it. Not to have any is a failure. Empty after a failure.
    virtual AdapterListOutcome ListAdapters(std::vector<HostAdapter>& adapters) = 0;

    // Opens an adapter of the list for capturing; null on failure.
    virtual AdapterHandle OpenAdapter(const HostAdapter& adapter) = 0;
    virtual void CloseAdapter(AdapterHandle handle) = 0;
    // Closes all of them, and sooner than one by one where closing means waiting for the system.
    virtual void CloseAdapters(const std::vector<AdapterHandle>& handles);

    virtual ModuleDescription DescribeModule() const = 0;
    virtual PacketDriverDescription DescribePacketDriver() const = 0;
};

// The host's adapter library. Never null; a library that is not usable says so by its descriptions.
std::unique_ptr<WrenPackLibrary> MakeWrenPackLibrary();

} // namespace vnxtest
