#include "vnetx/choice/platform_libraries.h"

#include "vnetx/bound_library.h"
#include "vnetx/forwarding_library.h"
#include "vnetx/pcap/pcap_library.h"
#include "wrenlib/format.h"
#include "wrenlib/shared_object.h"

namespace vnxtest {

namespace {

constexpr const wchar_t* kPackageLibrary = L"Vnetx64UD.dll";

// A built-in library in the place of the package's.
class StandIn final : public ForwardingLibrary {
public:
    StandIn(std::unique_ptr<VnetxLibrary> library, std::wstring why)
        : ForwardingLibrary(*library), m_library(std::move(library)), m_why(std::move(why)) {}
    std::wstring WhyNotThePackage() const override { return m_why; }

private:
    const std::unique_ptr<VnetxLibrary> m_library;
    const std::wstring m_why;
};

} // namespace

// The package's library if it is installed. One that is installed but cannot be loaded is an error; no
// other takes its place.
Result<std::unique_ptr<VnetxLibrary>> OpenAutoLibrary() {
    const auto path = FindSharedObject(kPackageLibrary);
    if (path) {
        return BindVnetxLibrary(kPackageLibrary);
    }
    return std::make_unique<StandIn>(
        MakePcapLibrary(),
        Sprintf(
            L"%s was not found in %s. The library pcap, which is built into this program, takes its place.",
            std::wstring(kPackageLibrary), path.error().text));
}

Result<std::unique_ptr<VnetxLibrary>> OpenTunLibrary() {
    return Refused(L"The library \"tun\" uses a device of the Linux kernel: Windows has none.");
}

std::wstring KnownLibraries() {
    return L"Choose auto (which is Vnetx64UD.dll where it is installed, else pcap), pcap, sim, sim:OPTIONS, or a shared library that exports the interface library's functions, by its path or by its file name ending in .dll.";
}

} // namespace vnxtest
