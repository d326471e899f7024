#include "vnetx/choice/platform_libraries.h"

#include "vnetx/pcap/pcap_library.h"
#include "vnetx/tun/tun_library.h"

namespace vnxtest {

Result<std::unique_ptr<VnetxLibrary>> OpenAutoLibrary() {
    return MakePcapLibrary();
}

Result<std::unique_ptr<VnetxLibrary>> OpenTunLibrary() {
    return MakeTunLibrary();
}

std::wstring KnownLibraries() {
    return L"Choose auto (which is pcap), pcap, tun, sim, sim:OPTIONS, or a shared library that exports the interface library's functions, by its path or by its file name ending in .so.";
}

} // namespace vnxtest
