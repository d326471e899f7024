#include "vnetx/bound_library.h"
#include "vnetx/builtin.h"
#include "vnetx/platform_libraries.h"
#include "vnetx/shared_object.h"

namespace vnxtest {

namespace {

constexpr const wchar_t* kPackageLibrary = L"Vnetx64UD.dll";

} // namespace

// The package's library where the package is installed. One that is there but cannot be used is an
// error of its own, not a reason to take another.
std::unique_ptr<VnetxLibrary> OpenAutoLibrary(std::wstring& error) {
    std::wstring places;
    return FindSharedObject(kPackageLibrary, places) ? BindVnetxLibrary(kPackageLibrary, error)
                                                     : MakePcapLibrary();
}

std::unique_ptr<VnetxLibrary> OpenTunLibrary(std::wstring& error) {
    error = L"The library \"tun\" uses a device of the Linux kernel: Windows has none.";
    return nullptr;
}

std::wstring KnownLibraries() {
    return L"Choose auto (which is Vnetx64UD.dll where it is installed, else pcap), pcap, sim, sim:OPTIONS, "
           L"or a "
           L"shared library that exports the interface library's functions, by its path or by its file name "
           L"ending in .dll.";
}

} // namespace vnxtest
